// A result file that appears only when it is complete: the writer works on a temporary name beside
// the target, commit() renames it into place, and anything not committed is removed.
#pragma once

#include <string>

namespace velq {

class TempTarget {
public:
    explicit TempTarget(std::string target);
    ~TempTarget();
    TempTarget(const TempTarget&) = delete;
    TempTarget& operator=(const TempTarget&) = delete;

    const std::string& target() const { return target_; }
    // The name to write: hidden, in the target's folder, unique to this process and object.
    const std::string& temp() const { return temp_; }
    // Renames the temporary file over the target; false (and the temporary file removed) on failure.
    bool commit();
    // Removes the temporary file now.
    void discard();

private:
    std::string target_, temp_;
    bool done_ = false;
};

}  // namespace velq
