#include "render/font_file.h"

#include <cctype>
#include <memory>

#include <fontconfig/fontconfig.h>

namespace velq {

namespace {
using PatternPtr = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;

// The families that the configuration binds strongly to the asked one (the name itself and the
// fonts it declares as its metric twins), as opposed to the weak generic fallbacks.
bool family_bound(FcPattern* asked, const FcChar8* family) {
    FcPatternIter it;
    FcPatternIterStart(asked, &it);
    if (!FcPatternFindIter(asked, &it, FC_FAMILY)) return false;
    const int n = FcPatternIterValueCount(asked, &it);
    for (int i = 0; i < n; ++i) {
        FcValue v;
        FcValueBinding binding = FcValueBindingWeak;
        if (FcPatternIterGetValue(asked, &it, i, &v, &binding) != FcResultMatch) continue;
        if (v.type != FcTypeString || binding == FcValueBindingWeak) continue;
        if (FcStrCmpIgnoreCase(v.u.s, family) == 0) return true;
    }
    return false;
}
}  // namespace

FontMatch find_font(const std::string& face, bool bold, bool italic) {
    FontMatch out;
    FcConfig* config = FcInitLoadConfigAndFonts();
    if (!config) return out;
    std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)> config_owner(config, FcConfigDestroy);
    PatternPtr pattern(FcPatternCreate(), FcPatternDestroy);
    if (!pattern) return out;
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(face.c_str()));
    if (bold) FcPatternAddInteger(pattern.get(), FC_WEIGHT, FC_WEIGHT_BOLD);
    if (italic) FcPatternAddInteger(pattern.get(), FC_SLANT, FC_SLANT_ITALIC);
    FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    PatternPtr match(FcFontMatch(config, pattern.get(), &result), FcPatternDestroy);
    if (!match) return out;
    FcChar8* file = nullptr;
    if (FcPatternGetString(match.get(), FC_FILE, 0, &file) != FcResultMatch || !file) return out;
    out.file = reinterpret_cast<const char*>(file);
    FcPatternGetInteger(match.get(), FC_INDEX, 0, &out.index);
    for (int i = 0;; ++i) {
        FcChar8* family = nullptr;
        if (FcPatternGetString(match.get(), FC_FAMILY, i, &family) != FcResultMatch) break;
        if (family_bound(pattern.get(), family)) out.named = true;
    }
    int weight = FC_WEIGHT_REGULAR, slant = FC_SLANT_ROMAN;
    FcPatternGetInteger(match.get(), FC_WEIGHT, 0, &weight);
    FcPatternGetInteger(match.get(), FC_SLANT, 0, &slant);
    out.bold = weight >= FC_WEIGHT_DEMIBOLD;
    out.italic = slant != FC_SLANT_ROMAN;
    return out;
}

}  // namespace velq
