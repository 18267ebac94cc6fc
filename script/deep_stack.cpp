// The stack of a top-level line: the line runs on a thread of its own whose
// stack holds user functions recursing tens of thousands of calls deep, and
// the statement layer's depth guard watches the room left on it.
#include <pthread.h>

#include <cstdint>
#include <exception>

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
// Without a stack of our own (no thread could be made) the line runs on the
// caller's stack, of unknown size: user calls and blocks then nest only as
// far as any thread's stack holds.
constexpr int ordinary_stack_depth = 256;

struct Job {
    void (*fn)(void*);
    void* arg;
    std::exception_ptr error;
};

std::uintptr_t here() noexcept {
    char probe = 0;
    return reinterpret_cast<std::uintptr_t>(&probe);
}

void* entry(void* p) {
    auto* job = static_cast<Job*>(p);
    state().stack_floor = here() - (deep_stack_bytes - stack_reserve_bytes);
    try {
        job->fn(job->arg);
    } catch (...) {
        job->error = std::current_exception();
    }
    state().stack_floor = 0;
    return nullptr;
}

}  // namespace

void run_on_deep_stack(void (*fn)(void*), void* arg) {
    if (state().stack_floor != 0) return fn(arg);  // already on it
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0) return fn(arg);
    Job job{fn, arg, {}};
    pthread_t thread;
    const bool made = pthread_attr_setstacksize(&attr, deep_stack_bytes) == 0 &&
                      pthread_create(&thread, &attr, entry, &job) == 0;
    pthread_attr_destroy(&attr);
    if (!made) return fn(arg);
    pthread_join(thread, nullptr);
    if (job.error) std::rethrow_exception(job.error);
}

bool stack_room() noexcept {
    const std::uintptr_t floor = state().stack_floor;
    if (floor == 0) return state().depth <= ordinary_stack_depth;
    return here() > floor;
}

}  // namespace ostr::script
