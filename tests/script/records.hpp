// Environment records for the stream tests: a body as envio writes it, a
// whole record through the C face's memory streams, and the sweep that
// every kind of value's reader must survive.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

#include "envio/serialize.hpp"
#include "ostravine/envio.h"
#include "ostravine/persist.h"
#include "script/script.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {

inline std::string body_of(Arbenv* env) {
    Text t;
    envio::write_body(env, t);
    return std::string(t.data(), t.size());
}
inline Arbenv* read_body(const std::string& bytes) { return envio::read_body(bytes, false); }

// A whole record (header, digest-free frame and body) through a memory stream.
inline std::string record_of(Arbenv* env) {
    MemFile* m = MemOpen(16);
    writeArbenv(env, m, 0);
    std::string s(reinterpret_cast<const char*>(MemGetBufHandle(m)), MemGetBufPos(m));
    MemClose(m);
    return s;
}
// The stream holds exactly the record.
inline Arbenv* read_record(const std::string& bytes) {
    MemFile* m = MemOpen(static_cast<int32_t>(bytes.size() + 1));
    std::memcpy(MemGetBufHandle(m), bytes.data(), bytes.size());
    MemSetBufPos(m, 0);
    m->size = static_cast<int32_t>(bytes.size());
    auto* e = static_cast<Arbenv*>(readTopArbenv(m, 0));
    MemClose(m);
    return e;
}

// Every truncation of r reads as nothing; every byte flipped by each mask
// reads as nothing or as an environment in which `probe` runs. Nothing is
// left behind. Answers how many damaged records were read back.
inline int sweep_damaged(const std::string& r, Arbenv* (*read)(const std::string&), std::string_view probe,
                         std::initializer_list<unsigned char> masks = {0x01, 0x80, 0xff}) {
    CountingAlloc counter;
    const long before = counter.live();
    for (std::size_t n = 0; n < r.size(); ++n) EXPECT_EQ(read(r.substr(0, n)), nullptr) << n;
    int read_back = 0;
    for (std::size_t k = 0; k < r.size(); ++k)
        for (unsigned char mask : masks) {
            std::string bad = r;
            bad[k] = static_cast<char>(bad[k] ^ mask);
            if (Arbenv* e = read(bad)) {
                ++read_back;
                Text shown = script::run_script(probe, e, true);
                obj::free_environment(e);
            }
        }
    EXPECT_EQ(counter.live(), before);
    return read_back;
}

}  // namespace ostr::test
