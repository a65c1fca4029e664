// Saved results carry the settings and layers that made them. These are the Document's side of the
// settings block: building it from the Document, finding and reading it with the system's messages,
// appending it to a picture, and the operations that take one back (Load layers, Copy and Paste,
// Open with Yes).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/document.h"
#include "persistence/settings_block.h"

namespace velq {

// The block of the Document. With `rendered` the settings are the snapshot taken when the last render
// finished (what Save records); otherwise the current settings. The source path is made absolute.
// Returns "" or the message saying what cannot be stored.
std::string make_settings_block(const Document& doc, bool rendered, SettingsBlock& block);

// Max and Min as the window restores them from a block: through the "%f" text of the stored float.
double restored_size_fraction(float stored);

// Reads the block at the end of `path`, telling the host what is wrong: "Failed to open file - PATH",
// "Invalid metadata found!", "Found a meta data of the previous version. (PATH)". A file without a
// block says nothing. Returns true and fills `block` only for a valid block of this version.
bool read_metadata_block(Host& host, const std::string& path, SettingsBlock& block);

// True when `path` ends in a valid block of this version (the messages as above).
bool detect_metadata(Host& host, const std::string& path);

// Appends the Document's file block (the rendered settings) to the picture file at `path`, opening it
// with the retry rule. Returns 0, or -1: silently when the file never opened, after the message when
// the block cannot be stored or written.
int write_metadata(const Document& doc, Host& host, const std::string& path);

// Copy metadata: the clipboard bytes (the record and the layer entries, no trailer) of the rendered
// settings when a render exists, else of the current ones. Empty after the message when a path or
// text cannot be stored.
std::vector<std::uint8_t> copy_metadata(const Document& doc, Host& host);

// True when the block's layers can be applied to this Document (nine of them, palettes it has).
bool block_fits_document(const Document& doc, const SettingsBlock& block);

// The window's fields from a block: INT, BLU, THR, GAP, DIL, K-Mn, Max, Min (through their "%f"
// text), the global brightness, the filter kind and the transform mode, the unit set to pixel; the
// background colour, the flag byte and the cycling selections. The output size and DPI are left
// alone (see restore_output_size), and so is the logo (apply_block_logo).
void apply_block_settings(Document& doc, const SettingsRecord& rec);
// The stored output size in pixels and the DPI, as a reopened result had them.
void restore_output_size(Document& doc, const SettingsRecord& rec);

// Replaces every layer by the stored one: its record, its passage, its shapes (the default disc, or
// reloaded from the stored files). A shape file that cannot be read is reported and leaves its layer
// with the shapes read before it; the result is then -1, else 0. Check block_fits_document first.
// The first layer's record also brings the Alphabet text and face.
int apply_block_layers(Document& doc, Host& host, const SettingsBlock& block);

// The logo of a block made again: the text drawn in its face, or the picture read from its file; no
// logo when the block has none. 0, or -1 after the message (the Document then has no logo).
int apply_block_logo(Document& doc, Host& host, const SettingsRecord& rec);

// Load layers: only the layers of the block at the end of `path` ("No metadata found!" when there is
// none). Returns 0, or -1 after the message.
int load_layers(Document& doc, Host& host, const std::string& path);

// The window's Open: a file that carries a valid block is offered for reuse ("Meta data detect. Use
// it?"); Yes reopens the result (read_metadata), No or no block opens it as a picture (open_picture).
int open_or_reuse(Document& doc, Host& host, const std::string& path);

// Open with Yes: the stored settings into the fields, the stored source picture read, the layers
// applied, then the stored filter, transform and render, at the stored output size and DPI. When the
// source picture cannot be read, the saved picture at `path` is opened instead, as No does, after one
// message saying so (source_unreadable_message). Returns 0, or -1 after the message ("Failed to read
// meta data" when the block cannot be read); the Document keeps what it had unless a picture came in.
int read_metadata(Document& doc, Host& host, const std::string& path);

// The whole of reopening from a block already read: reopen_from_block, then the stored filter,
// transform and render at the stored output size. `saved`, when not empty, is the result the block
// came from, opened as a picture when the source cannot be read (as read_metadata does). Returns 0,
// or -1 after the message.
int remake_from_block(Document& doc, Host& host, const SettingsBlock& block, const std::string& saved = "");

enum class Reopen {
    Done,
    ShapeFileFailed,   // a shape or logo file was reported; the picture, settings and the rest are in
    SourceUnreadable,  // nothing said, the Document untouched: the caller explains what it does instead
    Failed,            // after the message; the Document keeps what it had
};

// The first half of reopening: the stored settings and source picture, then the layers; nothing is
// filtered. The stored source is read before anything of the Document changes. The tool uses it to
// let its options override the block before running.
Reopen reopen_from_block(Document& doc, Host& host, const SettingsBlock& block);

// "The picture these settings were made from cannot be read (PATH)", and what is done instead.
std::string source_unreadable_message(const std::string& source, std::string_view instead);

// Paste metadata (the bytes that Copy put on the clipboard): the stored settings into the fields, the
// layers replaced, then the stored filter and transform over the current picture. Messages: "Invalid
// metadata in paste_metadata()", "Found a meta data of the previous version in paste_metadata()".
// Returns 0, or -1 after the message.
int paste_metadata(Document& doc, Host& host, std::span<const std::uint8_t> bytes);

}  // namespace velq
