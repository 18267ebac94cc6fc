// The stack of a top-level line: the line runs on a worker thread whose
// stack holds user functions recursing tens of thousands of calls deep, and
// the statement layer's depth guard watches the room left on it. The worker
// is made once and lives with the statement layer's state.
#include <pthread.h>

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <utility>

#include "script/script.hpp"
#include "script/state.hpp"

namespace ostr::script {
namespace {

// One level of user recursion (a call and the block of its body) takes a
// few kilobytes of stack in an optimised build and several times that under
// the sanitizers. The pages are only reserved: a line touches what it uses.
constexpr std::size_t deep_stack_bytes = std::size_t{1} << 30;
// Left free below the last depth check: the evaluator nests at most its
// depth bound of levels between two checks, and the formula work below it
// a bounded number more.
constexpr std::size_t stack_reserve_bytes = std::size_t{32} << 20;
// Without the worker (no thread could be made) the line runs on the
// caller's stack, of unknown size: user calls and blocks then nest only as
// far as any thread's stack holds.
constexpr int ordinary_stack_depth = 256;

// The frame address, not a local's: under the sanitizers a local may live
// on a heap-allocated fake stack.
std::uintptr_t here() noexcept { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); }

}  // namespace

// One job at a time: the caller posts it and waits until the worker is
// done, so the line still runs as if on the caller's thread.
class DeepStack {
public:
    DeepStack() {
        pthread_attr_t attr;
        if (pthread_attr_init(&attr) != 0) return;
        made_ = pthread_attr_setstacksize(&attr, deep_stack_bytes) == 0 &&
                pthread_create(&thread_, &attr, &DeepStack::main, this) == 0;
        pthread_attr_destroy(&attr);
    }
    ~DeepStack() {
        if (!made_) return;
        {
            std::lock_guard lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        pthread_join(thread_, nullptr);
    }
    DeepStack(const DeepStack&) = delete;
    DeepStack& operator=(const DeepStack&) = delete;

    bool made() const noexcept { return made_; }

    void run(void (*fn)(void*), void* arg) {
        std::unique_lock lock(mutex_);
        fn_ = fn;
        arg_ = arg;
        error_ = nullptr;
        wake_.notify_all();
        wake_.wait(lock, [&] { return fn_ == nullptr; });
        if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
    }

private:
    static void* main(void* self) {
        static_cast<DeepStack*>(self)->serve();
        return nullptr;
    }

    void serve() {
        const std::uintptr_t floor = here() - (deep_stack_bytes - stack_reserve_bytes);
        std::unique_lock lock(mutex_);
        for (;;) {
            wake_.wait(lock, [&] { return stop_ || fn_ != nullptr; });
            if (stop_) return;
            lock.unlock();
            state().stack_floor = floor;
            try {
                fn_(arg_);
            } catch (...) {
                error_ = std::current_exception();
            }
            state().stack_floor = 0;
            lock.lock();
            fn_ = nullptr;
            wake_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    void (*fn_)(void*) = nullptr;
    void* arg_ = nullptr;
    std::exception_ptr error_;
    bool stop_ = false;
    bool made_ = false;
    pthread_t thread_{};
};

void DeepStackDeleter::operator()(DeepStack* d) const noexcept { delete d; }

void run_on_deep_stack(void (*fn)(void*), void* arg) {
    State& s = state();
    if (s.stack_floor != 0) return fn(arg);  // already on it
    if (!s.deep_stack) s.deep_stack.reset(new DeepStack());
    if (!s.deep_stack->made()) return fn(arg);
    s.deep_stack->run(fn, arg);
}

bool stack_room() noexcept {
    const State& s = state();
    if (s.stack_floor == 0) return s.depth <= ordinary_stack_depth;
    return here() > s.stack_floor;
}

}  // namespace ostr::script
