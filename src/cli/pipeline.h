// The steps that the tool's subcommands chain: open and filter a picture, write a picture result.
// Each returns the tool's exit code for a failed step (1) after the system's message, or 0.
#pragma once

#include <optional>
#include <string>

#include "app/document.h"
#include "image/buffer.h"

namespace velq::cli {

// Opens `input` and runs the filter of the Document's settings (kind and memory limit).
int open_and_filter(Document& doc, Host& host, const std::string& input);

// Opens and filters `input`, then runs the transform of the Document's settings (no count message).
// Open resets Min, so a Min given on the line is applied again after it.
int open_and_transform(Document& doc, Host& host, const std::string& input, std::optional<double> min_size);

// Writes a picture with its resolution, through a temporary file renamed into place.
int write_result(Host& host, const UBUFFER& picture, const std::string& output, int dpi);

// Raises a usage error (exit code 2) when `error` is not empty.
void usage_check(const std::string& error);

}  // namespace velq::cli
