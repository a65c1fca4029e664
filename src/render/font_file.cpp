#include "render/font_file.h"

#include <cctype>
#include <memory>

#include <fontconfig/fontconfig.h>

namespace velq {

namespace {

std::string folded(const char* text) {
    std::string out;
    for (const char* c = text; *c; ++c)
        if (*c != ' ') out.push_back(char(std::tolower(static_cast<unsigned char>(*c))));
    return out;
}

bool has_family(FcPattern* match, const std::string& face) {
    const std::string want = folded(face.c_str());
    FcChar8* family = nullptr;
    for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &family) == FcResultMatch; ++i)
        if (family && folded(reinterpret_cast<const char*>(family)) == want) return true;
    return false;
}

}  // namespace

std::string find_font_file(const std::string& face, const FontStyle& style) {
    FcConfig* config = FcInitLoadConfigAndFonts();
    if (!config) return {};
    std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)> config_owner(config, FcConfigDestroy);
    std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> pattern(FcPatternCreate(), FcPatternDestroy);
    if (!pattern) return {};
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(face.c_str()));
    if (style.bold) FcPatternAddInteger(pattern.get(), FC_WEIGHT, FC_WEIGHT_BOLD);
    if (style.italic) FcPatternAddInteger(pattern.get(), FC_SLANT, FC_SLANT_ITALIC);
    FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> match(FcFontMatch(config, pattern.get(), &result),
                                                                  FcPatternDestroy);
    if (!match) return {};
    if (style.exact && !has_family(match.get(), face)) return {};
    FcChar8* file = nullptr;
    if (FcPatternGetString(match.get(), FC_FILE, 0, &file) != FcResultMatch || !file) return {};
    return reinterpret_cast<const char*>(file);
}

}  // namespace velq
