// The independent programs (exiftool, ImageMagick) that tests ask what our files hold.
#pragma once

#include <string>

namespace velq::test {

// True when `tool` is on the PATH.
bool have_tool(const std::string& tool);
// Runs a shell command, returns its standard output with the trailing newline removed.
std::string run_tool(const std::string& command);
// The path quoted for the shell.
std::string quoted(const std::string& path);

}  // namespace velq::test
