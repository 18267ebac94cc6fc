// The state file: its layout byte for byte, the load checks in their order
// with their messages (files damaged or forged by the test), the rejected
// file kept aside, and sessions that find everything again.
#include <cmath>
#include <cstring>

#include "console.hpp"
#include "ostravine/core.h"
#include "ostravine/environment.h"
#include "ostravine/envio.h"
#include "ostravine/hash.h"
#include "ostravine/persist.h"
#include "ostravine/script.h"

namespace ostr::test {
namespace {

class Globals : public ::testing::Environment {
public:
    void SetUp() override { InitializeGlobals(nullptr, 0); }
    void TearDown() override { TerminateGlobals(); }
};
const auto* const globals = ::testing::AddGlobalTestEnvironment(new Globals);

std::string digest_of(const std::string& body) {
    char* d = SHA512FromByteArray(reinterpret_cast<const unsigned char*>(body.data()), body.size());
    std::string s(d);
    FreeString(d);
    return s;
}

std::string with_digest(const std::string& body) { return digest_of(body) + body; }

std::string version_bytes(double v) { return std::string(reinterpret_cast<const char*>(&v), 8); }

// A body: the version, then the tree written to a memory stream.
std::string body_of(double version, ArbTree* tree) {
    MemFile* m = MemOpen(18);
    MemWrite(&version, 8, 1, m);
    writeArbTreeToStream(tree, nullptr, m, 0);
    std::string s(reinterpret_cast<const char*>(MemGetBufHandle(m)), MemGetBufPos(m));
    MemClose(m);
    return s;
}

// A tree with one entry: `value` of `type` under `key`.
std::string tree_body(const char* key, void* value, const char* type) {
    ArbTree* t = initializeArbTree();
    insertArbNode(t, nullptr, key, createArbValue(value, type));
    std::string body = body_of(16.97, t);
    freeArbTree(t, nullptr, 1);
    FreeBlock(t);
    return body;
}

// A state file as a session that stored x=3 leaves it.
std::string saved_state() {
    Scratch s;
    s.run("x=3\n\n");
    return s.state();
}

// Runs a session on the given state file: it must be refused with `message`,
// a fresh environment must answer, the refused file must sit beside the new
// one untouched, and the new one must load.
void expect_refused(const std::string& file, const std::string& message, const std::string& what) {
    Scratch s;
    write_file(s / state_name, file);
    Outcome r = s.run("x\ny=1\n\n");
    EXPECT_EQ(r.out, message + transcript({"x", "y <- 1"})) << what;
    EXPECT_EQ(r.code, 0) << what;
    EXPECT_EQ(read_file(s / (state_name + ".rejected")), file) << what;
    EXPECT_EQ(s.run("y\n\n").out, transcript({"1"})) << what;
}

TEST(StateFile, LayoutByteForByte) {
    const std::string f = saved_state();
    ASSERT_GT(f.size(), 140u);
    const std::string body = f.substr(128);
    EXPECT_EQ(f.substr(0, 128), digest_of(body));
    EXPECT_EQ(f.substr(0, 128).find_first_not_of("0123456789abcdef"), std::string::npos);
    std::uint64_t bits;
    std::memcpy(&bits, body.data(), 8);
    EXPECT_EQ(bits, 0x4030F851EB851EB8u);
    const std::string tree = body.substr(8);
    const std::string head = std::string("\1\0\0\0\6\0\0\0mathAE\x13\0\0\0arbeval_environment", 37);
    EXPECT_EQ(tree.substr(0, head.size()), head);
    // The root is black, and nothing follows its colour.
    EXPECT_EQ(tree.substr(tree.size() - 4), std::string("\1\0\0\0", 4));
}

TEST(StateFile, SingleChangedBytesAreRefused) {
    const std::string good = saved_state();
    std::vector<std::size_t> at = {0, 1, 63, 127, 128, 129, 133, 134, 135, 136, 137, 140, 150, good.size() - 1};
    for (std::size_t k = 160; k + 1 < good.size(); k += 97) at.push_back(k);
    for (std::size_t k : at) {
        for (unsigned char mask : {0x01, 0x80}) {
            std::string bad = good;
            bad[k] = static_cast<char>(bad[k] ^ mask);
            std::string msg = msg_integrity;
            if (k >= 128 && k < 136) {
                double v;
                std::memcpy(&v, bad.data() + 128, 8);
                if (!CompareFloats(v, 16.97)) msg = msg_obsolete;
            }
            expect_refused(bad, msg, "byte " + std::to_string(k) + " mask " + std::to_string(mask));
        }
    }
}

TEST(StateFile, TruncatedOrLongerFilesAreRefused) {
    const std::string good = saved_state();
    // Too short to hold a version: obsolete; from 136 bytes on the digest
    // decides.
    for (std::size_t n : {0u, 1u, 64u, 127u, 128u, 129u, 135u})
        expect_refused(good.substr(0, n), msg_obsolete, "length " + std::to_string(n));
    const std::size_t digest_decides[] = {136, 137, 140, 200, good.size() - 1};
    for (std::size_t n : digest_decides)
        expect_refused(good.substr(0, n), msg_integrity, "length " + std::to_string(n));
    for (std::string tail : {std::string(1, '\0'), std::string("\n"), std::string(1000, 'z')})
        expect_refused(good + tail, msg_integrity, "appended " + std::to_string(tail.size()));
}

TEST(StateFile, OtherVersionsAreObsoleteEvenWithAMatchingDigest) {
    const std::string good = saved_state();
    const std::string tree = good.substr(136);
    for (double v : {16.969999, 17.0, 0.0, -16.97, 16.97 * (1 + 4e-15), std::nan("")})
        expect_refused(with_digest(version_bytes(v) + tree), msg_obsolete, "version " + std::to_string(v));
    // Equal to 15 digits is the same version.
    Scratch s;
    write_file(s / state_name, with_digest(version_bytes(std::nextafter(16.97, 20.0)) + tree));
    EXPECT_EQ(s.run("x\n\n").out, transcript({"3"}));
}

TEST(StateFile, DigestMustMatchExactly) {
    const std::string good = saved_state();
    std::string upper = good;
    for (std::size_t k = 0; k < 128; ++k) upper[k] = static_cast<char>(std::toupper(upper[k]));
    if (upper != good) expect_refused(upper, msg_integrity, "upper-case digest");
    expect_refused(std::string(128, '0') + good.substr(128), msg_integrity, "zero digest");
    // A body of exactly the version, digest right: an empty tree.
    expect_refused(with_digest(version_bytes(16.97)), msg_not_found, "no tree");
}

TEST(StateFile, TreesWithoutTheEnvironmentAreRefused) {
    Arbenv* env = InitializeTopLevelEnvironment();
    expect_refused(with_digest(tree_body("mathAF", copyArbenv(env), "arbeval_environment")), msg_not_found,
                   "other key");
    expect_refused(with_digest(tree_body("mathAE", initializeArbTree(), "arbtree")), msg_not_found, "other type");
    char* text = static_cast<char*>(copyRBNodeValueString(const_cast<char*>("x=1")));
    expect_refused(with_digest(tree_body("mathAE", text, "string")), msg_not_found, "a string");
    ArbTree* empty = initializeArbTree();
    expect_refused(with_digest(body_of(16.97, empty)), msg_not_found, "empty tree");
    freeArbTree(empty, nullptr, 1);
    FreeBlock(empty);
    TerminateEnvironment(env);
    // The right key and type over a damaged environment record.
    std::string body = saved_state().substr(128);
    body[50] = static_cast<char>(body[50] ^ 0x55);  // inside the record's magic
    expect_refused(with_digest(body), msg_not_found, "damaged record");
    expect_refused(with_digest(version_bytes(16.97) + std::string("\1\0\0\0\xff\xff\xff\xff", 8)), msg_not_found,
                   "huge key length");
}

TEST(StateFile, TheLatestRejectedFileIsKept) {
    Scratch s;
    write_file(s / state_name, "first");
    s.run("\n");
    EXPECT_EQ(read_file(s / (state_name + ".rejected")), "first");
    const std::string saved = s.state();
    s.run("\n");  // accepted: the rejected file stays as it is
    EXPECT_EQ(read_file(s / (state_name + ".rejected")), "first");
    write_file(s / state_name, "second");
    s.run("\n");
    EXPECT_EQ(read_file(s / (state_name + ".rejected")), "second");
    EXPECT_EQ(s.state().size(), saved.size());
}

TEST(StateFile, SessionsFindEveryKindOfDefinitionAgain) {
    Scratch s;
    s.run("n=-2.5\nc=1-2*i\nf=a*b+1\nt=\"two words\"\nsq(x)=x*x\nh(x,y)=x*y-1\n"
          "sigdigits(6)\nlarge=123456789\n\n");
    // Twice: once from the tree built at exit, once from the tree that was
    // loaded and saved again.
    for (int pass = 0; pass < 2; ++pass) {
        Outcome r = s.run("n\nc\nf\nt\nsq(3)\nh(2,5)\nlarge\npi\n\n");
        EXPECT_EQ(r.out, transcript({"-2.5", "1-2*i", "a*b+1", "\"two words\"", "9", "9", "1.23457E+8", "3.14159"}))
            << pass;
        EXPECT_EQ(r.code, 0);
    }
}

// The console keeps a history of its lines; it travels in the state file
// and the next session lists and runs those lines.
TEST(StateFile, HistorySurvivesARestart) {
    Scratch s;
    Outcome first = s.run("x=2\nx=x*3,y=\"a b\"\n\n");
    EXPECT_EQ(first.out, msg_missing + transcript({"x <- 2", "x <- x*3\n\ny <- \"a b\""}));
    const std::string listing = "1: x=2\n   x <- 2\n2: x=x*3,y=\"a b\"\n   x <- x*3\n   y <- \"a b\"";
    Outcome second = s.run("history()\nhistory(2)\nx\n\n");
    EXPECT_EQ(second.out, transcript({listing, "x <- x*3\n\ny <- \"a b\"", "18"}));
    const std::string third = s.run("history()\n\n").out;
    EXPECT_TRUE(third.starts_with("\n: : " + listing + "\n3: history()\n   1: x=2\n")) << third;
    EXPECT_TRUE(third.ends_with("\n4: history(2)\n   x <- x*3\n   y <- \"a b\"\n5: x\n   18\n\n\n: ")) << third;
}

// A state file whose environment kept no history (the form every earlier
// session saved) loads as it is and starts one.
TEST(StateFile, AnEnvironmentWithoutHistoryLoadsAndStartsOne) {
    Arbenv* env = InitializeTopLevelEnvironment();
    ASSERT_EQ(GetHistoryFlag(env), 0);
    FreeString(ArbevalScript("old=7", env, 1));
    Scratch s;
    write_file(s / state_name, with_digest(tree_body("mathAE", env, "arbeval_environment")));
    Outcome r = s.run("history()\nold\n\n");
    EXPECT_EQ(r.out, transcript({"no history", "7"}));
    EXPECT_EQ(s.run("history()\n\n").out, transcript({"1: history()\n   no history\n2: old\n   7"}));
}

}  // namespace
}  // namespace ostr::test
