// The C face of environments: thin wrappers over ostr::obj.
#include "ostravine/environment.h"
#include "objects/environment.hpp"

extern "C" {

Arbenv* InitializeTopLevelEnvironment() noexcept {
    return ostr::or_failure<Arbenv*>(nullptr, ostr::obj::make_fresh_top_level);
}

void RestoreDefaultAssignments(Arbenv* env) noexcept {
    if (env) ostr::or_nothing([&] { ostr::obj::restore_defaults(env); });
}

void TerminateEnvironment(Arbenv* env) noexcept { ostr::obj::free_environment(env); }

int32_t GetSignificantDigits(const Arbenv* env) noexcept { return env ? env->significant_digits : 0; }

void SetSignificantDigits(Arbenv* env, int32_t n) noexcept {
    if (env) env->significant_digits = n;
}

int32_t GetHistoryFlag(const Arbenv* env) noexcept { return env ? env->history_flag : 0; }

void SetHistoryFlag(Arbenv* env, int32_t on) noexcept {
    if (env) env->history_flag = on ? 1 : 0;
}

}
