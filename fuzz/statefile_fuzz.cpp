// The whole state file load on any body: the input becomes the body of a
// state file whose digest is correct, so every check up to the tree passes
// and the tree and environment readers see arbitrary bytes. The same bytes
// then go to readTopArbenv as a named environment file and as a memory
// stream. Whatever comes back must evaluate a line and free cleanly.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "script/script.hpp"
#include "statefile.h"

namespace {

std::string scratch_name(const char* what) {
    return "/tmp/ostr_fuzz_statefile_" + std::to_string(getpid()) + "_" + what;
}

void write_all(const std::string& name, const void* a, std::size_t n, const void* b, std::size_t m) {
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) return;
    if (n) std::fwrite(a, 1, n, f);
    if (m) std::fwrite(b, 1, m, f);
    std::fclose(f);
}

void exercise(Arbenv* env) {
    for (const char* line : {"x", "f(2)+g", "s+\"t\"", "a[1]", "a.sort()", "m.keys()", "n[1][1]=a", "x*y/z-1",
                             "s.split(\"t\").join(\",\")", "a.join(s)", "m.values().join()", "k.det()",
                             "k[2][1]=c", "c*k"})
        FreeString(ArbevalScript(line, env, 1));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The load prints its messages; they are not what is tested.
    if (!std::freopen("/dev/null", "w", stdout)) return 0;
    InitializeGlobals(nullptr, 0);
    // Functions read from a body may loop; keep each input short.
    ostr::script::limits().max_loop_passes = 2000;
    ostr::script::limits().max_seconds = 1;
    ostr::script::limits().max_string_bytes = 1 << 16;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string state = scratch_name("state"), named = scratch_name("named");
    char* digest = SHA512FromByteArray(data, size);
    write_all(state, digest, std::strlen(digest), data, size);
    FreeString(digest);

    ArbTree* tree = nullptr;
    int rejected = 0;
    Arbenv* env = state_load(state.c_str(), &tree, &rejected);
    if (env) exercise(env);
    if (tree) {
        freeArbTree(tree, nullptr, 1);
        FreeBlock(tree);
    } else {
        TerminateEnvironment(env);
    }

    write_all(named, data, size, nullptr, 0);
    if (FILE* f = std::fopen(named.c_str(), "rb")) {
        auto* e = static_cast<Arbenv*>(readTopArbenv(f, 1));
        std::fclose(f);
        if (e) exercise(e);
        TerminateEnvironment(e);
    }
    if (size > 0 && size < INT32_MAX) {
        MemFile* m = MemOpen(static_cast<int32_t>(size));
        std::memcpy(MemGetBufHandle(m), data, size);
        auto* e = static_cast<Arbenv*>(readTopArbenv(m, 0));
        MemClose(m);
        if (e) exercise(e);
        TerminateEnvironment(e);
    }
    return 0;
}
