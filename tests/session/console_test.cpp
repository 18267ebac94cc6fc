// The console program byte for byte: prompts and answers, the end of a
// session, long lines, the end of input, the command line, the start-up
// script, environment files and the save at exit.
#include <chrono>

#include "console.hpp"

namespace ostr::test {
namespace {

// Errors are answers like any other and do not end the loop.
TEST(Console, PromptsAndAnswersThenSave) {
    Scratch s;
    Outcome r = s.run("x=3\ny = 2*x + 1\n(1+2\n=1\ny\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({"x <- 3", "y <- 2*x+1", ">invalid_expression<",
                                               ">invalid_expression<", "7"}));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(s.has(state_name));
    EXPECT_FALSE(s.has(state_name + ".tmp"));
}

// The random generator's state travels in the state file: from one saved
// state, drawing twice in one session and drawing once, restarting and
// drawing again give the same second number.
TEST(Console, TheNextRandomNumberSurvivesARestart) {
    Scratch first;
    first.run("a=rand(0,1)\n\n");
    Scratch straight, restarted;
    write_file(straight / state_name, first.state());
    write_file(restarted / state_name, first.state());
    const std::string through = straight.run("b=rand(0,1)\nc=rand(0,1)\nc\n\n").out;
    restarted.run("b=rand(0,1)\n\n");
    const std::string after = restarted.run("c=rand(0,1)\nc\n\n").out;
    const std::string tail = through.substr(through.rfind(": : "));
    EXPECT_EQ(after.substr(after.rfind(": : ")), tail);
    EXPECT_NE(tail.find("0."), std::string::npos) << tail;
}

// Vertical tab and form feed are not blank: such a line is evaluated.
TEST(Console, EveryBlankLineEndsTheSession) {
    for (std::string end : {"", " ", "\t", "\r", " \t\r ", "\t\t\r\r"}) {
        Scratch s;
        Outcome r = s.run("x=1\n" + end + "\nx=2\n");
        EXPECT_EQ(r.out, msg_missing + transcript({"x <- 1"})) << "blank line of " << end.size();
        EXPECT_EQ(r.code, 0);
        // The line after the blank one was never read: x is still 1.
        EXPECT_EQ(s.run("x\n\n").out, transcript({"1"}));
    }
    for (std::string line : {"\v", "\f", " \v ", "\f\t"})
        EXPECT_EQ(Scratch().run(line + "\n\n").out, msg_missing + transcript({">invalid_expression<"}));
}

TEST(Console, LinesAroundTheFirstBufferSizeAreReadWhole) {
    for (std::size_t length : {126u, 127u, 128u, 129u, 255u, 256u, 257u, 5000u}) {
        Scratch s;
        std::string digits(length - 3, '0');
        std::string line = "v=" + digits + "7";
        ASSERT_EQ(line.size(), length);
        Outcome r = s.run(line + "\nv\n\n");
        EXPECT_EQ(r.out, msg_missing + transcript({"v <- " + digits + "7", "7"})) << length;
    }
}

// The end of input after some characters evaluates them; at the start of a
// line it ends at once. The text of a line ends at its first zero byte.
TEST(Console, EndOfInputAndZeroBytes) {
    Scratch s;
    EXPECT_EQ(s.run("").out, msg_missing + "\n: ");
    EXPECT_EQ(s.run("x=5\nx*2").out, transcript({"x <- 5", "10"}));
    Outcome r = s.run("x");
    EXPECT_EQ(r.out, transcript({"5"}));
    EXPECT_EQ(r.code, 0);
    // The second line is empty up to its zero byte: the session ends there.
    EXPECT_EQ(s.run(std::string("x=4\0garbage\n\0x\nx\n", 18)).out, transcript({"x <- 4"}));
    EXPECT_EQ(s.run("x\n\n").out, transcript({"4"}));
}

TEST(Console, MoreThanOneArgumentPrintsTheUsageAndTouchesNothing) {
    Scratch s;
    write_file(s / state_name, "not a state file");
    for (std::string args : {"a b", "a b c", "'' ''"}) {
        Outcome r = s.run("x=1\n\n", args);
        EXPECT_EQ(r.out, usage);
        EXPECT_EQ(r.code, 1);
    }
    EXPECT_EQ(s.state(), "not a state file");
    EXPECT_FALSE(s.has(state_name + ".rejected"));
    Scratch empty;
    empty.run("\n", "a b");
    EXPECT_FALSE(empty.has(state_name));
}

TEST(Console, ATenMegabyteLineIsReadQuickly) {
    Scratch s;
    std::string line = "q=" + std::string(10u << 20, '1');
    auto start = std::chrono::steady_clock::now();
    Outcome r = s.run(line + "\n1+1\n\n");
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ(r.out, msg_missing + transcript({">evaluation_aborted<", "2"}));
    EXPECT_LT(seconds, 10.0);  // generous for the sanitizer build; see docs/session.md for figures
}

TEST(Console, ExportedFileStartsTheSameEnvironment) {
    Scratch s;
    s.run("a=2\nz=3+4*i\nf(t)=t*a+1\nw=\"text \\\"q\\\"\"\ng=u*v+1\nsigdigits(4)\nexport(\"my.env\")\n\n");
    ASSERT_TRUE(s.has("my.env"));
    fs::remove(s / state_name);
    Outcome r = s.run("a\nz\nf(3)\nw\ng\npi\n\n", "my.env");
    EXPECT_EQ(r.out, transcript({"2", "3+4*i", "7", "\"text \\\"q\\\"\"", "u*v+1", "3.142"}));
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(s.has(state_name));
}

TEST(Console, AMissingOrDamagedNamedFileGivesTheDefaultEnvironment) {
    Scratch s;
    s.run("a=1\nexport(\"good.env\")\n\n");
    const std::string good = read_file(s / "good.env");
    write_file(s / "empty.env", "");
    write_file(s / "short.env", good.substr(0, good.size() / 2));
    // What follows the record is not read.
    write_file(s / "long.env", good + "tail");
    EXPECT_EQ(s.run("a\n\n", "long.env").out, transcript({"1"}));
    write_file(s / "junk.env", std::string(4096, '\xff'));
    fs::create_directory(s / "dir.env");
    for (std::string name : {"none.env", "empty.env", "short.env", "junk.env", "dir.env"}) {
        Outcome r = s.run("a\n\n", name);
        EXPECT_EQ(r.out, msg_named(name) + transcript({"a"})) << name;
        EXPECT_EQ(r.code, 0);
    }
    // Every single changed byte either reads or is refused; none crashes.
    for (std::size_t k = 0; k < good.size(); k += 7) {
        std::string bad = good;
        bad[k] = static_cast<char>(bad[k] ^ 0x5a);
        write_file(s / "flip.env", bad);
        Outcome r = s.run("1\n\n", "flip.env");
        EXPECT_EQ(r.code, 0) << k;
        EXPECT_TRUE(r.out.ends_with(transcript({"1"}))) << k;
    }
}

TEST(Console, InitScriptRunsInEveryFreshEnvironmentOnly) {
    Scratch s;
    write_file(s / "init.txt", "k=42\r\n\n   \nsq(x)=x*x\n(1+\n");
    Outcome r = s.run("k\nsq(k)\nk=1\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({"42", "1764", "k <- 1"}));
    // Loaded from the state file: the environment is not fresh, k stays 1.
    EXPECT_EQ(s.run("k\n\n").out, transcript({"1"}));
    // A damaged state file gives a fresh environment, and the script runs.
    write_file(s / state_name, "damaged");
    EXPECT_EQ(s.run("k\n\n").out, msg_obsolete + transcript({"42"}));
}

TEST(Console, SaveFailsWhenTheTemporaryCannotBeMade) {
    Scratch s;
    s.run("x=1\n\n");
    const std::string before = s.state();
    fs::create_directory(s / (state_name + ".tmp"));
    Outcome r = s.run("x=2\n\n");
    EXPECT_EQ(r.out, transcript({"x <- 2"}) + msg_save_failed);
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(s.state(), before);
    fs::remove(s / (state_name + ".tmp"));
    EXPECT_EQ(s.run("x\n\n").out, transcript({"1"}));
}

// Files written in one session are read in the next, in the session's
// working directory; nothing is written outside it.
TEST(Console, FilesWrittenInOneSessionAreReadInTheNext) {
    Scratch s;
    fs::create_directory(s / "data");
    Outcome first = s.run(
        "m=matrix:[0.1,2],[1/3,-4];\nwritematrix(\"data/m.csv\",m)\nwrite(\"all.val\",[\"t\",x*y,big(2)^70])>0\n"
        "write(\"../outside.val\",1)\n\n");
    EXPECT_EQ(first.out, msg_missing + transcript({"m <- matrix:[0.1,2],[1/3,-4];", "28", "1", ">file_not_writable<"}));
    EXPECT_EQ(read_file(s / "data" / "m.csv"), "0.1,2\n0.3333333333333333,-4\n");
    EXPECT_FALSE(fs::exists(s.dir().parent_path() / "outside.val"));
    Outcome second =
        s.run("readmatrix(\"data/m.csv\")==m\nread(\"all.val\")\nl=listf(),l.contains([\"data/\",0])\nreadstring(\"data\")\n\n");
    EXPECT_EQ(second.out, transcript({"1", "[\"t\",x*y,1180591620717411303424]", "l <- listf()\n\n1",
                                      ">is_a_directory<"}));
}

}  // namespace
}  // namespace ostr::test
