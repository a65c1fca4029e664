#include "app/worker.h"

namespace velq {

Worker::~Worker() {
    host_.stop = true;
    join();
}

bool Worker::start(std::function<void()> job) {
    if (job_thread_.load() == std::this_thread::get_id()) return false;
    host_.stop = true;
    join();
    host_.stop = false;
    host_.skip = false;
    {
        std::lock_guard lock(mutex_);
        running_ = true;
    }
    thread_ = std::thread([this, job = std::move(job)] {
        job_thread_ = std::this_thread::get_id();
        host_.busy(true);
        struct Leave {
            Worker& w;
            ~Leave() {
                {
                    std::lock_guard lock(w.mutex_);
                    w.running_ = false;
                }
                w.host_.busy(false);
                w.job_thread_ = std::thread::id();
            }
        } leave{*this};
        job();
    });
    return true;
}

void Worker::join() {
    if (thread_.joinable() && job_thread_.load() != std::this_thread::get_id()) thread_.join();
}

bool Worker::running() const {
    std::lock_guard lock(mutex_);
    return running_;
}

}  // namespace velq
