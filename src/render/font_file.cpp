#include "render/font_file.h"

#include <memory>

#include <fontconfig/fontconfig.h>

namespace velq {

std::string find_font_file(const std::string& face) {
    FcConfig* config = FcInitLoadConfigAndFonts();
    if (!config) return {};
    std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)> config_owner(config, FcConfigDestroy);
    std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> pattern(FcPatternCreate(), FcPatternDestroy);
    if (!pattern) return {};
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(face.c_str()));
    FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> match(FcFontMatch(config, pattern.get(), &result),
                                                                  FcPatternDestroy);
    if (!match) return {};
    FcChar8* file = nullptr;
    if (FcPatternGetString(match.get(), FC_FILE, 0, &file) != FcResultMatch || !file) return {};
    return reinterpret_cast<const char*>(file);
}

}  // namespace velq
