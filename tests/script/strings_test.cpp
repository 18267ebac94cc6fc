// Strings in the language: the methods and their bad input, the digests and
// Base64 against their published vectors (FIPS 180-4 examples, RFC 4648
// section 10), byte order, the UTF-8 walk on bytes that form no character,
// the length bound, and strings of every byte through export and import.
#include <string>

#include "script/string_methods.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

// Pieces joined (g++ 12 warns falsely on chains of string "+").
std::string cat(std::initializer_list<std::string_view> pieces) {
    std::string out;
    for (std::string_view p : pieces) out.append(p);
    return out;
}

// "héllo wörld": 11 characters, 13 bytes.
TEST_F(ScriptTest, StringMethods) {
    check({
        {"s=\"h\xC3\xA9llo w\xC3\xB6rld\"", "s <- \"h\xC3\xA9llo w\xC3\xB6rld\""},
        {"s.length()", "11"},
        {"s.bytes()", "13"},
        {"s.upper()", "\"H\xC3\xA9LLO W\xC3\xB6RLD\""},
        {"\"MiXeD 1\".lower()", "\"mixed 1\""},
        {"s.substring(2,4)", "\"\xC3\xA9llo\""},
        {"s.substring(8)", "\"\xC3\xB6rld\""},
        {"s.substring(12)", "\"\""},
        {"s.substring(11,1)", "\"d\""},
        {"s.find(\"w\xC3\xB6\")", "7"},
        {"s.find(\"x\")", "0"},
        {"s.find(\"\")", "1"},
        {"s.replace(\"l\",\"L\")", "\"h\xC3\xA9LLo w\xC3\xB6rLd\""},
        {"\"aaaa\".replace(\"aa\",\"b\")", "\"bb\""},
        {"\"a-b-c\".replace(\"-\",\"\")", "\"abc\""},
        {"\" \\t x y \\n\".trim()", "\"x y\""},
        {"\" -0x10 \".number()", "-16"},
        {"\"2.5E-3\".number()*2", "0.005"},
        {"\"  Ab \".trim().lower().length()", "2"},
        {"(\"a\"+\"b\").upper()", "\"AB\""},
        {"s.length()+s.find(\"o\")", "16"},
        {"t=s.substring(1,5).upper()", "t <- s.substring(1,5).upper()"},
        {"t", "\"H\xC3\xA9LLO\""},
        {"f(x)=x.upper()+\"!\"", "f(x) <- x.upper()+\"!\""},
        {"f(\"hi\")", "\"HI!\""},
        {"q.upper()", "q.upper()"},
        {"s", "\"h\xC3\xA9llo w\xC3\xB6rld\""},
        // A named string is read after its arguments, which may assign it.
        {"s.find(if:1,s=\"xxb\",\"b\";)", "3"},
        {"s", "\"xxb\""},
    });
}

// split gives an array of strings and join takes one back; the separator
// is found only on character boundaries, and numbers join as "+" writes them.
TEST_F(ScriptTest, SplitAndJoin) {
    check({
        {"s=\"a,b,,c\"", "s <- \"a,b,,c\""},
        {"p=s.split(\",\")", "p <- s.split(\",\")"},
        {"p", "[\"a\",\"b\",\"\",\"c\"]"},
        {"p.size()", "4"},
        {"p[4]", "\"c\""},
        {"p.join(\"+\")", "\"a+b++c\""},
        {"p.join()", "\"abc\""},
        {"s.split(\",\").join(\";\")", "\"a;b;;c\""},
        {"s.split(\",\").size()", "4"},
        {"\"\".split(\",\")", "[\"\"]"},
        {"\"x\".split(\"xy\")", "[\"x\"]"},
        {"\"--\".split(\"-\").join(\"+\")", "\"++\""},
        {"\"b a c\".split(\" \").sort()", "3"},
        {"\"h\xC3\xA9\xC3\xA9h\".split(\"\xC3\xA9\")", "[\"h\",\"\",\"h\"]"},
        {"\"h\xC3\xA9\".split(unbase64(\"qQ==\"))", "[\"h\xC3\xA9\"]"},
        {"[1,\"x\",2.5,-i].join(\" \")", "\"1 x 2.5 -i\""},
        {"[].join(\",\")", "\"\""},
        {"[\"solo\"].join(\", \")", "\"solo\""},
        {"sigdigits(3),[pi].join()", "3\n\n\"3.14\""},
        {"p", "[\"a\",\"b\",\"\",\"c\"]"},
    });
    for (const char* line : {"[1,[2]].join()", "[x].join()", "[map:1=2;].join()", "p.join(1)", "p.join(\",\",\",\")",
                             "s.split(\",\").nothing()", "s.split(\",\").swap(1)"})
        EXPECT_EQ(run(line), ">invalid_expression<") << line;
}

// Bad input: an error word, and the string is unchanged.
TEST_F(ScriptTest, StringMethodErrors) {
    run("s=\"abc\"");
    for (const char* line :
         {"s.substring(0,1)", "s.substring(5)", "s.substring(3,2)", "s.substring(1.5,1)", "s.substring(1,-1)",
          "s.substring(i,1)", "s.substring()", "s.substring(1,2,3)", "s.find(1)", "s.find()", "s.replace(\"\",\"x\")",
          "s.replace(\"a\",2)", "s.nope()", "s.upper(1)", "s.split(\"\")", "s.split(1)", "s.split()", "\"1+2\".number()", "\"\".number()",
          "(2).upper()", "s.upper(1+)", "s.upper()*2", "-s.upper()", "s..upper()", "s.upper", "s.(1)"})
        EXPECT_EQ(run(line), ">invalid_expression<") << line;
    EXPECT_EQ(run("s"), "\"abc\"");
}

// Known answers: FIPS 180-4 "abc" and the empty message, RFC 4648 section
// 10 for Base64.
TEST_F(ScriptTest, DigestsAndBase64) {
    check({
        {"sha256(\"abc\")", "\"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\""},
        {"sha256(\"\")", "\"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\""},
        {"sha512(\"abc\")",
         "\"ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423"
         "643ce80e2a9ac94fa54ca49f\""},
        {"sha512(\"\")",
         "\"cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce47d0d13c5d85f2b0ff8318d2877eec2f63b931bd"
         "47417a81a538327af927da3e\""},
        {"sha256(\"abc\").substring(1,8)", "\"ba7816bf\""},
        {"sha256(y)", "sha256(y)"},
        {"sha256(1)", ">invalid_expression<"},
        {"sha256(\"a\",\"b\")", ">invalid_expression<"},
    });
    const char* rfc4648[][2] = {{"", ""},         {"f", "Zg=="},         {"fo", "Zm8="},        {"foo", "Zm9v"},
                                {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (auto& [plain, coded] : rfc4648) {
        EXPECT_EQ(run(cat({"base64(\"", plain, "\")"})), cat({"\"", coded, "\""})) << plain;
        EXPECT_EQ(run(cat({"unbase64(\"", coded, "\")"})), cat({"\"", plain, "\""})) << coded;
    }
    // Not Base64, a lone final character, a zero byte (no string holds one).
    for (const char* bad : {"unbase64(\"Zm9v!\")", "unbase64(\"Zm9vY\")", "unbase64(\"AA==\")", "unbase64(3)"})
        EXPECT_EQ(run(bad), ">invalid_expression<") << bad;
}

TEST_F(ScriptTest, SaltedHashes) {
    check({
        {"h=saltedhash(\"pw\")", "h <- saltedhash(\"pw\")"},
        {"testsaltedhash(\"pw\",h)", "1"},
        {"testsaltedhash(\"pW\",h)", "0"},
        {"testsaltedhash(\"pw\",\"no hash\")", "0"},
        {"h.length()>=196&h.length()<=260", "1"},
        {"saltedhash(\"pw\")==h", "0"},
        {"testsaltedhash(\"pw\",1)", ">invalid_expression<"},
    });
}

TEST_F(ScriptTest, TextAndNumberConversions) {
    check({
        {"text(1/3)", "\"0.333333333333333\""},
        {"text(2-i)", "\"2-i\""},
        {"text(12345)", "\"1.2345E+4\""},
        {"text(\"as is\")", "\"as is\""},
        {"text(2*y+1)", "\"2*y+1\""},
        {"text(f(\"a\"))", "\"f(\\\"a\\\")\""},
        {"number(\"0b101\")+1", "6"},
        {"number(7)", "7"},
        {"number(z)", "number(z)"},
        {"number(\"seven\")", ">invalid_expression<"},
        {"number(\"1e999\")", ">invalid_expression<"},
        {"sigdigits(3)", "3"},
        {"text(pi)", "\"3.14\""},
        {"\"pi=\"+pi", "\"pi=3.14\""},
    });
}

// Byte order: for UTF-8 the order of the code points.
TEST_F(ScriptTest, StringOrder) {
    check({
        {"\"abc\"<\"abd\"", "1"},
        {"\"b\">\"abc\"", "1"},
        {"\"ab\"<\"abc\"", "1"},
        {"\"a\"<=\"a\"", "1"},
        {"\"a\">=\"b\"", "0"},
        {"\"\xC3\xA9\">\"z\"", "1"},
        {"\"Z\"<\"a\"", "1"},
        {"\"a\"<1", ">invalid_expression<"},
        {"\"a\"|\"b\"", ">invalid_expression<"},
    });
}

// Every cut of a text of 1-, 2-, 3- and 4-byte characters into a head and
// a tail gives the text back, and no piece begins inside a character.
TEST_F(ScriptTest, SubstringNeverCutsACharacter) {
    const std::string s = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";  // a é € 😀 z
    run(cat({"s=\"", s, "\""}));
    ASSERT_EQ(run("s.length()"), "5");
    std::string head;
    const std::size_t ends[] = {0, 1, 3, 6, 10, 11};
    for (int k = 0; k <= 5; ++k) {
        const std::string n = std::to_string(k), m = std::to_string(k + 1);
        EXPECT_EQ(run(cat({"s.substring(1,", n, ")"})), cat({"\"", s.substr(0, ends[k]), "\""})) << k;
        EXPECT_EQ(run(cat({"s.substring(", m, ")"})), cat({"\"", s.substr(ends[k]), "\""})) << k;
        EXPECT_EQ(run(cat({"s.substring(1,", n, ")+s.substring(", m, ")==s"})), "1") << k;
    }
    EXPECT_EQ(run("s.find(\"\xF0\x9F\x98\x80\")"), "4");
}

// Bytes that form no character count one each; a match must begin and end
// on the boundaries of the searched text.
TEST(Utf8, BytesThatFormNoCharacter) {
    struct Row {
        std::string text;
        std::size_t chars;
    };
    const Row rows[] = {
        {"", 0},
        {"\xE2\x82\xAC", 1},
        {"\xC3", 1},
        {"a\xC3", 2},
        {"\xE2\x82", 2},
        {"\xC0\x80", 2},          // overlong
        {"\xE0\x80\x80", 3},      // overlong
        {"\xED\xA0\x80", 3},      // surrogate
        {"\xF4\x90\x80\x80", 4},  // past U+10FFFF
        {"\xF0\x9F\x98\x80", 1},
        {"\xFF\xFE", 2},
        {"\x80\xC3\xA9", 2},
        // Across the eight-byte steps over ASCII.
        {"abcdefg\xC3\xA9hijklmnop", 17},
        {"abcdefgh\xE2\x82\xACijklmnopqrstuvw\xF0\x9F\x98\x80", 25},
        {"abcdefghijklmno\xE2\x82", 17},
    };
    for (const Row& r : rows) EXPECT_EQ(script::char_count(r.text), r.chars) << r.text;
    using V = std::vector<std::size_t>;
    EXPECT_EQ(script::occurrences("\xC3\xA9", "\xA9"), V{});
    EXPECT_EQ(script::occurrences("\xC3\xA9\xA9", "\xA9"), V{2});
    EXPECT_EQ(script::occurrences("\xC3\xA9", "\xC3"), V{});
    EXPECT_EQ(script::occurrences("aaaaa", "aa"), (V{0, 2}));
    using P = std::vector<std::string_view>;
    EXPECT_EQ(script::split_pieces("a,b,,c", ","), (P{"a", "b", "", "c"}));
    EXPECT_EQ(script::split_pieces("", ","), P{""});
    EXPECT_EQ(script::split_pieces("::", ":"), (P{"", "", ""}));
    EXPECT_EQ(script::split_pieces("x--y", "--"), (P{"x", "y"}));
}

// A result past the length bound aborts the line before it is built.
TEST_F(ScriptTest, StringsStayWithinTheirBound) {
    script::limits().max_string_bytes = 100;
    run("s=\"aaaaaaaaaa\"");
    EXPECT_EQ(run(cat({"s.replace(\"a\",\"", std::string(10, 'b'), "\")"})), cat({"\"", std::string(100, 'b'), "\""}));
    EXPECT_EQ(run(cat({"s.replace(\"a\",\"", std::string(11, 'b'), "\")"})), ">evaluation_aborted<");
    EXPECT_EQ(run("base64(s+s+s+s+s+s+s+s)"), ">evaluation_aborted<");
    EXPECT_EQ(run("s.length()"), "10");
}

// Every byte but zero, UTF-8, escapes and the byte the normaliser reserves
// survive export and import unchanged.
TEST_F(ScriptTest, StringsOfEveryByteSurviveExportAndImport) {
    const std::string all =
        "AQIDBAUGBwgJCgsMDQ4PEBESExQVFhcYGRobHB0eHyAhIiMkJSYnKCkqKywtLi8wMTIzNDU2Nzg5Ojs8PT4/QEFCQ0RFRkdISUpLTE1OT1BR"
        "UlNUVVZXWFlaW1xdXl9gYWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXp7fH1+f4CBgoOEhYaHiImKi4yNjo+QkZKTlJWWl5iZmpucnZ6foKGi"
        "o6SlpqeoqaqrrK2ur7CxsrO0tba3uLm6u7y9vr/AwcLDxMXGx8jJysvMzc7P0NHS09TV1tfY2drb3N3e3+Dh4uPk5ebn6Onq6+zt7u/w8fLz"
        "9PX29/j5+vv8/f7/";
    const std::string file = "strings_test.env";  // export writes only below the working directory
    run(cat({"b=unbase64(\"", all, "\")"}));
    ASSERT_EQ(run("b.bytes()"), "255");
    run("u=\"\xC3\xA9\\\"\\\\\\n\\t\xF0\x9F\x98\x80\"");
    const std::string shown = run("u");
    ASSERT_EQ(run(cat({"export(\"", file, "\")"})), "4");
    obj::free_environment(env);
    env = obj::make_top_level();
    ASSERT_EQ(run(cat({"import(\"", file, "\")"})), "4");
    EXPECT_EQ(run("base64(b)"), cat({"\"", all, "\""}));
    EXPECT_EQ(run("u"), shown);
    EXPECT_EQ(run("u.length()"), "6");
    std::remove(file.c_str());
}

}  // namespace
}  // namespace ostr::test
