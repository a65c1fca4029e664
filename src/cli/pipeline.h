// The steps that the tool's subcommands chain: open and filter a picture, write a picture result.
// Each returns the tool's exit code for a failed step (1) after the system's message, or 0.
#pragma once

#include <optional>
#include <string>

#include "app/document.h"
#include "cli/cli_host.h"
#include "cli/options.h"
#include "image/buffer.h"
#include "persistence/settings_block.h"

namespace velq::cli {

// Opens `input` and runs the filter of the Document's settings (kind and memory limit).
int open_and_filter(Document& doc, Host& host, const std::string& input);

// Opens and filters `input`, then runs the transform of the Document's settings (no count message).
// Open resets Min, so a Min given on the line is applied again after it.
int open_and_transform(Document& doc, Host& host, const std::string& input, std::optional<double> min_size);

// The line's picture and transform options applied to the Document (a usage error when one is
// invalid), then `input` opened, filtered and transformed.
int open_and_transform(Document& doc, Host& host, const std::string& input, const PictureOptions& picture,
                       const TransformOptions& transform);

// --settings RESULT: the block at the end of RESULT ("No metadata found!" when it has none, the
// reader's own message when it is broken or old).
int read_result_settings(CliHost& host, const std::string& result, SettingsBlock& block);

// Opens what --settings asks for: with no input the source picture the block names, with the block's
// output size and DPI to come back after the filter (as Open with Yes does); with an input that
// picture, the block applied to it as Paste does. The settings and layers are the block's either way.
int open_with_settings(Document& doc, Host& host, const std::string& input, const SettingsBlock& block);

// Writes a picture with its resolution, through a temporary file renamed into place.
int write_result(Host& host, const UBUFFER& picture, const std::string& output, int dpi);

// Raises a usage error (exit code 2) when `error` is not empty.
void usage_check(const std::string& error);

}  // namespace velq::cli
