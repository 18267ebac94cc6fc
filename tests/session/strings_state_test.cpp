// Strings through the state file: every byte the language can put into a
// string (all but zero, from Base64), UTF-8 and the escaped characters are
// saved at the end of one session and found unchanged by the next.
#include "console.hpp"

namespace ostr::test {
namespace {

// Base64 of the bytes 1 to 255.
const std::string every_byte =
    "AQIDBAUGBwgJCgsMDQ4PEBESExQVFhcYGRobHB0eHyAhIiMkJSYnKCkqKywtLi8wMTIzNDU2Nzg5Ojs8PT4/QEFCQ0RFRkdISUpLTE1OT1BR"
    "UlNUVVZXWFlaW1xdXl9gYWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXp7fH1+f4CBgoOEhYaHiImKi4yNjo+QkZKTlJWWl5iZmpucnZ6foKGi"
    "o6SlpqeoqaqrrK2ur7CxsrO0tba3uLm6u7y9vr/AwcLDxMXGx8jJysvMzc7P0NHS09TV1tfY2drb3N3e3+Dh4uPk5ebn6Onq6+zt7u/w8fLz"
    "9PX29/j5+vv8/f7/";

TEST(StateFile, StringsOfEveryByteSurviveASaveAndALoad) {
    Scratch s;
    const std::string u = "\"\xC3\xA9\\\"\\\\\\n\\t\xF0\x9F\x98\x80\"";
    std::string first = "b=unbase64(\"";
    first.append(every_byte).append("\")\nu=").append(u).append("\n\n");
    ASSERT_EQ(s.run(first).code, 0);
    std::string quoted = "\"";
    quoted.append(every_byte).append("\"");
    // Twice: from the file the first session wrote, and from the one the
    // second wrote after loading it.
    for (int pass = 0; pass < 2; ++pass) {
        Outcome r = s.run("base64(b)\nu\nu.length()\nb.bytes()\n\n");
        EXPECT_EQ(r.out, transcript({quoted, u, "6", "255"})) << pass;
        EXPECT_EQ(r.code, 0);
    }
}

}  // namespace
}  // namespace ostr::test
