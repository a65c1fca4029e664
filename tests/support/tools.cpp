#include "support/tools.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace velq::test {

bool have_tool(const std::string& tool) {
    return std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) == 0;
}

std::string run_tool(const std::string& command) {
    std::unique_ptr<FILE, int (*)(FILE*)> p(popen(command.c_str(), "r"), &pclose);
    std::string out;
    if (!p) return out;
    char buf[256];
    while (std::size_t n = std::fread(buf, 1, sizeof buf, p.get())) out.append(buf, n);
    while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
    return out;
}

std::string quoted(const std::string& path) {
    std::string q = "'";
    for (char c : path) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

}  // namespace velq::test
