// The environment stream in process: round trips through memory and file
// streams, values of every tag through their handlers, and damaged records
// (every truncation, flipped bytes) that must read as nothing or as an
// environment, never crash, and leave nothing behind. The state file and the
// environment files carry it through the console (console_test.cpp,
// statefile_test.cpp).
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bignum/bitarray.hpp"
#include "ostravine/core.h"
#include "ostravine/envio.h"
#include "ostravine/hash.h"
#include "ostravine/persist.h"
#include "ostravine/script.h"
#include "objects/environment.hpp"
#include "objects/types.hpp"
#include "records.hpp"
#include "support/counting_alloc.hpp"

namespace ostr::test {
namespace {

std::string answer(Arbenv* env, const char* line) {
    char* a = ArbevalScript(line, env, 1);
    std::string s = a ? a : "(null)";
    FreeString(a);
    return s;
}

class EnvStream : public ::testing::Test {
protected:
    void SetUp() override {
        InitializeGlobals(nullptr, 0);
        env_ = InitializeTopLevelEnvironment();
        for (const char* line : {"n=-2.5", "c=1-2*i", "f=a*b+1", "t=\"say \\\"hi\\\"\"", "sq(x)=x*x",
                                 "g(x,y)=x+y*n", "sigdigits(7)", "e=7"})
            answer(env_, line);
    }
    void TearDown() override {
        TerminateEnvironment(env_);
        TerminateGlobals();
    }
    // The record of env_ as a memory stream writes it.
    std::string record() { return record_of(env_); }
    static Arbenv* read(const std::string& bytes) { return read_record(bytes); }
    void expect_same(Arbenv* e) {
        for (const char* q : {"n", "c", "f", "t", "sq(4)", "g(1,2)", "e", "pi", "1/3"})
            EXPECT_EQ(answer(e, q), answer(env_, q)) << q;
    }
    Arbenv* env_ = nullptr;
};

// A file stream writes the same bytes as a memory stream, and both read back.
TEST_F(EnvStream, RoundTripThroughMemoryAndAFile) {
    Arbenv* e = read(record());
    ASSERT_NE(e, nullptr);
    expect_same(e);
    EXPECT_EQ(GetSignificantDigits(e), 7);
    TerminateEnvironment(e);
    std::FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    writeArbenv(env_, f, 1);
    EXPECT_EQ(static_cast<std::size_t>(std::ftell(f)), record().size());
    std::rewind(f);
    e = static_cast<Arbenv*>(readTopArbenv(f, 1));
    std::fclose(f);
    ASSERT_NE(e, nullptr);
    expect_same(e);
    TerminateEnvironment(e);
}

// Every truncation reads as nothing; a flipped byte reads as nothing or as a
// working environment. Nothing is left behind.
TEST_F(EnvStream, DamagedRecordsNeverCrashOrLeak) {
    // Bytes inside values change values, not the frame: some read back.
    EXPECT_GT(sweep_damaged(record(), read, "sq(3)+n", {0x01, 0x10, 0xff}), 0);
}

// Tags whose values arrive with later work travel through the handlers
// registered for the tag; a value without a writer is left out.
void write_text_value(void* v, void* stream, std::uint32_t mode) {
    if (v) writeRBNodeValueString(v, stream, static_cast<int32_t>(mode));
}
void* read_text_value(void* stream, std::uint32_t mode) {
    return readRBNodeValueString(stream, static_cast<int32_t>(mode));
}

// Every built-in tag has its own layout now; the one free tag (9) stands in
// for a type whose handlers are registered, and tag 11 (no writer) for one
// whose objects cannot be saved.
constexpr auto free_tag = static_cast<obj::Tag>(9);

TEST_F(EnvStream, EveryTagTravelsThroughItsHandlers) {
    auto& slot = obj::type_table().types[free_tag].handlers;
    const obj::ValueHandlers saved = slot;
    slot = {freeRBNodeValueString, write_text_value, read_text_value, copyRBNodeValueString};
    obj::store(env_, obj::make_object(env_, free_tag, "m", copyRBNodeValueString(const_cast<char*>("k=v")), slot));
    obj::store(env_, obj::make_object(env_, obj::internal, "orphan", copyRBNodeValueString(const_cast<char*>("x")),
                                      {freeRBNodeValueString, nullptr, nullptr, copyRBNodeValueString}));
    // A big number: two bit arrays (an odd mantissa with its top bit set, the
    // exponent's magnitude) and a field (flags, digits shown in the high half).
    auto* b = static_cast<obj::BignumValue*>(mem_alloc(sizeof(obj::BignumValue)));
    BitArray* mant = big::make(130);
    for (std::uint64_t k = 0; k < mant->nwords; ++k) mant->words[k] = 0x0123456789abcdefu * (k + 1);
    mant->words[2] = 3;
    const std::vector<std::uint64_t> words(mant->words, mant->words + mant->nwords);
    const std::int64_t field = 3 | (std::int64_t{40} << 32);
    *b = {mant, InitializeBitArrayFromUInt64(5), field};
    obj::Object* raw = obj::make_object(env_, obj::bignum, "big", b, {[](void* v) {
        auto* x = static_cast<obj::BignumValue*>(v);
        big::release(static_cast<BitArray*>(x->mantissa));
        big::release(static_cast<BitArray*>(x->exponent));
        mem_free(x);
    }, nullptr, nullptr, nullptr});
    obj::store(env_, obj::copy_object(raw, env_));
    obj::free_object(raw);
    // A scope object holding an object of its own.
    obj::Object* scope = obj::make_scoped("loop", env_);
    obj::store(static_cast<Arbenv*>(scope->value), obj::make_numeric({4, 5}, "inner", nullptr));
    obj::store(env_, scope);

    Arbenv* e = read(record());
    ASSERT_NE(e, nullptr);
    obj::Object* m = obj::find(e, "m");
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->tag, free_tag);
    EXPECT_STREQ(static_cast<const char*>(m->value), "k=v");
    EXPECT_EQ(obj::find(e, "orphan"), nullptr);
    obj::Object* big_back = obj::find(e, "big");
    ASSERT_NE(big_back, nullptr);
    auto* bb = static_cast<obj::BignumValue*>(big_back->value);
    EXPECT_EQ(bb->field, field);
    auto* mb = static_cast<BitArray*>(bb->mantissa);
    ASSERT_EQ(mb->bits, 130u);
    ASSERT_EQ(mb->nwords, words.size());
    for (std::uint64_t k = 0; k < mb->nwords; ++k) EXPECT_EQ(mb->words[k], words[k]);
    EXPECT_EQ(static_cast<BitArray*>(bb->exponent)->words[0], 5u);
    obj::Object* loop = obj::find(e, "loop");
    ASSERT_NE(loop, nullptr);
    auto* inner_env = static_cast<Arbenv*>(loop->value);
    EXPECT_EQ(inner_env->parent, e);
    obj::Object* inner = obj::find(inner_env, "inner");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(obj::numeric_value(inner).im, 5.0);
    TerminateEnvironment(e);
    slot = saved;
}

TEST_F(EnvStream, NullAndEmptyStreams) {
    EXPECT_EQ(readTopArbenv(nullptr, 0), nullptr);
    EXPECT_EQ(read(std::string("\0\0\0\0", 4)), nullptr);
    EXPECT_EQ(copyArbenv(nullptr), nullptr);
    writeArbenv(nullptr, nullptr, 0);
    MemFile* m = MemOpen(4);
    writeArbenv(nullptr, m, 0);
    EXPECT_EQ(MemGetBufPos(m), 0u);
    MemClose(m);
}

}  // namespace
}  // namespace ostr::test
