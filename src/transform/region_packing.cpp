#include "transform/region_packing.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <thread>

#include "host/parallel.h"

namespace velq {
namespace {

// What the packing threads share with the calling thread.
struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<LiveCircle> live;  // batches not yet passed on
    std::size_t running = 0;       // threads still packing
    std::atomic<std::size_t> next{0};
    std::atomic<bool> failed{false};
};

// The host a packing thread sees: its live batches are queued for the calling thread, and its stop
// flag is raised by the calling thread when the real host's is.
class RelayHost : public Host {
public:
    RelayHost(Shared& shared, const Host& real) : shared_(shared), real_(real) {}
    void title(std::string_view) override {}
    void percent(int) override {}
    void message(std::string_view) override {}
    bool ask(std::string_view) override { return false; }
    void circles_added(std::span<const LiveCircle> batch) override {
        {
            std::lock_guard lock(shared_.mutex);
            shared_.live.insert(shared_.live.end(), batch.begin(), batch.end());
        }
        shared_.changed.notify_one();
        // A Stop on the real host (its flag is atomic) reaches the packer at its next circle rather
        // than at the calling thread's next look.
        if (real_.stopped()) stop = true;
    }

private:
    Shared& shared_;
    const Host& real_;
};

}  // namespace

RegionPacking pack_regions(const std::vector<PackRegion>& regions, const std::vector<double>& areas,
                           const PackOptions& options, int threads, Host& host,
                           const std::function<void(double)>& progress) {
    const std::size_t n = regions.size();
    RegionPacking out;
    out.circles.resize(n);
    out.out_of_memory = n;
    const double total = std::accumulate(areas.begin(), areas.end(), 0.0);
    // Per region: the share of it done, read by the calling thread for the bar.
    std::vector<std::atomic<double>> done(n);
    for (auto& d : done) d.store(0, std::memory_order_relaxed);
    std::vector<char> oom(n, 0);
    auto pack_one = [&](std::size_t i, Host& h) {
        PackOptions o = options;
        o.progress = [&done, i](double f) { done[i].store(f, std::memory_order_relaxed); };
        try {
            out.circles[i] = pack_circles(regions[i], o, h);
        } catch (const std::bad_alloc&) {
            oom[i] = 1;
        }
        done[i].store(1, std::memory_order_relaxed);
    };
    auto report = [&] {
        if (!progress || !(total > 0)) return;
        double sum = 0;
        for (std::size_t i = 0; i < n; ++i) sum += done[i].load(std::memory_order_relaxed) * areas[i];
        progress(std::min(1.0, sum / total));
    };

    const std::size_t workers = std::min(n, std::size_t(threads > 0 ? threads : worker_count()));
    if (workers <= 1) {
        for (std::size_t i = 0; i < n && !host.stopped(); ++i) {
            pack_one(i, host);
            report();
            if (oom[i]) break;
        }
    } else {
        // Largest regions first, so that no thread is left with a big one at the end.
        std::vector<std::size_t> order(n);
        std::iota(order.begin(), order.end(), std::size_t(0));
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return areas[a] > areas[b]; });
        Shared shared;
        shared.running = workers;
        std::vector<std::unique_ptr<RelayHost>> relays;
        for (std::size_t t = 0; t < workers; ++t) relays.push_back(std::make_unique<RelayHost>(shared, host));
        std::vector<std::thread> pool;
        for (std::size_t t = 0; t < workers; ++t) {
            pool.emplace_back([&, t] {
                RelayHost& relay = *relays[t];
                for (;;) {
                    const std::size_t k = shared.next.fetch_add(1);
                    if (k >= n || relay.stopped() || host.stopped() || shared.failed.load()) break;
                    pack_one(order[k], relay);
                    if (oom[order[k]]) shared.failed.store(true);
                }
                {
                    std::lock_guard lock(shared.mutex);
                    --shared.running;
                }
                shared.changed.notify_one();
            });
        }
        const auto interval = std::chrono::duration<double>(options.live_interval_seconds);
        std::vector<LiveCircle> batch;
        for (bool finished = false; !finished;) {
            {
                std::unique_lock lock(shared.mutex);
                shared.changed.wait_for(lock, interval, [&] { return shared.running == 0; });
                finished = shared.running == 0;
                batch.swap(shared.live);
            }
            if (host.stopped())
                for (auto& r : relays) r->stop = true;
            if (!batch.empty()) host.circles_added(batch);
            batch.clear();
            report();
        }
        for (std::thread& t : pool) t.join();
    }
    for (std::size_t i = 0; i < n; ++i)
        if (oom[i]) {
            out.out_of_memory = i;
            break;
        }
    return out;
}

}  // namespace velq
