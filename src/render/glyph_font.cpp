#include "render/glyph_font.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace velq {

struct GlyphFont::Face {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    ~Face() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }
};

namespace {

BoundaryPoint point(const FT_Vector* v) {
    return {double(v->x), double(v->y)};
}

int move_to(const FT_Vector* to, void* user) {
    static_cast<OutlinePath*>(user)->push_back({PathCommand::Op::Move, {point(to)}});
    return 0;
}
int line_to(const FT_Vector* to, void* user) {
    static_cast<OutlinePath*>(user)->push_back({PathCommand::Op::Line, {point(to)}});
    return 0;
}
int conic_to(const FT_Vector* control, const FT_Vector* to, void* user) {
    static_cast<OutlinePath*>(user)->push_back({PathCommand::Op::Quad, {point(control), point(to)}});
    return 0;
}
int cubic_to(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user) {
    static_cast<OutlinePath*>(user)->push_back({PathCommand::Op::Cubic, {point(c1), point(c2), point(to)}});
    return 0;
}

}  // namespace

GlyphFont::GlyphFont() = default;
GlyphFont::~GlyphFont() = default;
GlyphFont::GlyphFont(GlyphFont&&) noexcept = default;
GlyphFont& GlyphFont::operator=(GlyphFont&&) noexcept = default;

bool GlyphFont::open(const std::string& file) {
    auto f = std::make_unique<Face>();
    cache_.clear();
    face_.reset();
    if (FT_Init_FreeType(&f->library) != 0) return false;
    if (FT_New_Face(f->library, file.c_str(), 0, &f->face) != 0) return false;
    if (!FT_IS_SCALABLE(f->face) || f->face->units_per_EM == 0) return false;
    face_ = std::move(f);
    return true;
}

double GlyphFont::units_per_em() const {
    return face_ ? face_->face->units_per_EM : 1;
}
double GlyphFont::ascender() const {
    return face_ ? face_->face->ascender : 0;
}
double GlyphFont::descender() const {
    return face_ ? -double(face_->face->descender) : 0;
}

const LetterGlyph& GlyphFont::glyph(char32_t c) {
    if (auto it = cache_.find(c); it != cache_.end()) return it->second;
    LetterGlyph g;
    if (face_) {
        FT_Face face = face_->face;
        const FT_UInt index = FT_Get_Char_Index(face, FT_ULong(c));
        if (FT_Load_Glyph(face, index, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING) == 0 &&
            face->glyph->format == FT_GLYPH_FORMAT_OUTLINE) {
            FT_Outline_Funcs funcs{move_to, line_to, conic_to, cubic_to, 0, 0};
            FT_Outline_Decompose(&face->glyph->outline, &funcs, &g.path);
            g.advance = double(face->glyph->advance.x);
            g.blank = face->glyph->outline.n_contours == 0;
        }
    }
    return cache_.emplace(c, std::move(g)).first->second;
}

double GlyphFont::kerning(char32_t left, char32_t right) {
    if (!face_ || !FT_HAS_KERNING(face_->face)) return 0;
    FT_Face face = face_->face;
    FT_Vector k{0, 0};
    FT_Get_Kerning(face, FT_Get_Char_Index(face, FT_ULong(left)), FT_Get_Char_Index(face, FT_ULong(right)),
                   FT_KERNING_UNSCALED, &k);
    return double(k.x);
}

}  // namespace velq
