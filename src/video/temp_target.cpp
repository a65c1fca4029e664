#include "video/temp_target.h"

#include <atomic>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace velq {

namespace fs = std::filesystem;

TempTarget::TempTarget(std::string target) : target_(std::move(target)) {
    static std::atomic<unsigned> serial{0};
    const fs::path t(target_);
    std::string name = ".";
    name += t.filename().string();
    name += '.';
    name += std::to_string(::getpid());
    name += '-';
    name += std::to_string(serial.fetch_add(1));
    name += ".part";
    temp_ = (t.parent_path() / name).string();
}

TempTarget::~TempTarget() {
    discard();
}

bool TempTarget::commit() {
    if (done_) return false;
    std::error_code ec;
    fs::rename(temp_, target_, ec);
    if (ec) {
        discard();
        return false;
    }
    done_ = true;
    return true;
}

void TempTarget::discard() {
    if (done_) return;
    std::error_code ec;
    fs::remove(temp_, ec);
    done_ = true;
}

}  // namespace velq
