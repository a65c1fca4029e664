// Open: a picture file becomes the Document's source, with its resolution and freshly built working
// pictures. Runs on the worker.
#pragma once

#include <string>

#include "app/document.h"
#include "image/picture_reader.h"

namespace velq {

// The Open command after the file dialog: offers a settings block the file carries, refuses videos
// ("Invalid file"), resets the Document and reads the picture. Returns 0, or -1 after the message.
int open_picture(Document& doc, Host& host, const std::string& path);

// Reads `path` into the Document: source picture, DPI, filter buffer and working pictures, output
// size. Returns 0, or -1 with the message (the Document's pictures are then released).
int read_image(Document& doc, Host& host, const std::string& path);

// The second half of read_image, for a picture already read from `path` without error.
int install_picture(Document& doc, Host& host, PictureRead read, const std::string& path);

// The per-picture state of a new picture: view toggles on, palette selection 0, nothing transformed.
void init_operation(Document& doc);

}  // namespace velq
