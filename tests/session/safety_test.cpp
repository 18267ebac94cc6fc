// Saving that loses nothing and file access that stays where the user is:
// failing writes, kills between the steps of a save and what the next start
// makes of them, odd things at the state path, the file commands' path rule
// and the start-up script's owner rule.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "console.hpp"

namespace ostr::test {
namespace {

const std::string temp_name = state_name + ".tmp";
const std::string aside_name = state_name + ".rejected";
const std::string msg_skipped_script =
    "The start-up script 'init.txt' was skipped: it must be a regular file of yours that no one else can write.\n";

// A state file as a session that stored x=<value> leaves it.
std::string state_with_x(const std::string& value) {
    Scratch s;
    s.run("x=" + value + "\n\n");
    return s.state();
}

// What the next plain start answers for x.
std::string x_now(const Scratch& s) {
    const std::string out = s.run("x\n\n").out;
    const std::size_t at = out.rfind("\n: : ");
    return at == std::string::npos ? out : out.substr(at + 5, out.find('\n', at + 5) - at - 5);
}

// With a file size limit of 50 KiB and a 4 MiB environment the write fails
// part way: a message and exit code 1, not a death by signal, and nothing of
// the failed save is left.
TEST(Safety, AWriteBeyondTheFileSizeLimitIsAFailureNotADeath) {
    Scratch s;
    write_file(s / state_name, state_with_x("1"));
    const std::string before = s.state();
    // The string is built by a loop, so no long echo reaches the output.
    const std::string big = "huge=\"bbbbbbbbbbbbbbbb\",for:j=1,j<19,j=j+1,huge=huge+huge;\n";
    Outcome r = s.run(big + "x=2\n\n", "", "ulimit -f 100;");
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.out.ends_with(msg_save_failed)) << r.out.substr(r.out.size() > 200 ? r.out.size() - 200 : 0);
    EXPECT_EQ(s.state(), before);
    EXPECT_FALSE(s.has(temp_name));
    EXPECT_EQ(x_now(s), "1");
}

// A refused state file is kept as .rejected whatever was there before: the
// newest refused copy wins, and a link there is replaced, not written through.
TEST(Safety, AnExistingRejectedFileNeverStopsTheSave) {
    for (bool as_link : {false, true}) {
        Scratch s, elsewhere;
        write_file(elsewhere / "mine", "not yours");
        write_file(s / state_name, "damaged");
        if (as_link)
            fs::create_symlink(elsewhere / "mine", s / aside_name);
        else
            write_file(s / aside_name, "older");
        Outcome r = s.run("x=2\n\n");
        EXPECT_EQ(r.out, msg_obsolete + transcript({"x <- 2"})) << as_link;
        EXPECT_EQ(r.code, 0) << as_link;
        EXPECT_FALSE(fs::is_symlink(s / aside_name)) << as_link;
        EXPECT_EQ(read_file(s / aside_name), "damaged") << as_link;
        EXPECT_EQ(read_file(elsewhere / "mine"), "not yours") << as_link;
        EXPECT_EQ(x_now(s), "2") << as_link;
    }
}

// A directory or a pipe at the state path cannot be loaded, is never moved,
// and the save fails; nothing blocks on the pipe.
TEST(Safety, ADirectoryOrPipeAtTheStatePathIsLeftAlone) {
    for (bool pipe : {false, true}) {
        Scratch s;
        if (pipe) {
            ASSERT_EQ(mkfifo((s / state_name).c_str(), 0600), 0);
        } else {
            fs::create_directory(s / state_name);
            write_file(s / state_name / "keep", "mine");
        }
        Outcome r = s.run("x=2\n\n");
        EXPECT_EQ(r.out, msg_missing + transcript({"x <- 2"}) + msg_save_failed) << pipe;
        EXPECT_EQ(r.code, 1) << pipe;
        EXPECT_EQ(pipe ? fs::is_fifo(s / state_name) : fs::is_directory(s / state_name), true) << pipe;
        if (!pipe) {
            EXPECT_EQ(read_file(s / state_name / "keep"), "mine");
        }
        EXPECT_FALSE(s.has(aside_name)) << pipe;
        EXPECT_FALSE(s.has(temp_name)) << pipe;
    }
}

// A link of the user's at the state path is followed both ways: the target
// is loaded and replaced (its refused content kept beside it), and the link
// stays a link. A link to nowhere makes the target.
TEST(Safety, ALinkAtTheStatePathSavesToItsTarget) {
    struct Case {
        const char* what;
        std::string target_before;  // empty: no target
        std::string first_answer;
        std::string message;
    };
    const std::vector<Case> cases = {
        {"sound target", state_with_x("1"), "1", ""},
        {"damaged target", "damaged", "x", msg_obsolete},
        {"no target", "", "x", msg_missing},
    };
    for (const Case& c : cases) {
        Scratch s;
        fs::create_directory(s / "real");
        if (!c.target_before.empty()) write_file(s / "real" / "state", c.target_before);
        fs::create_symlink("real/state", s / state_name);
        Outcome r = s.run("x\nx=2\n\n");
        EXPECT_EQ(r.out, c.message + transcript({c.first_answer, "x <- 2"})) << c.what;
        EXPECT_EQ(r.code, 0) << c.what;
        EXPECT_TRUE(fs::is_symlink(s / state_name)) << c.what;
        EXPECT_EQ(fs::read_symlink(s / state_name), "real/state") << c.what;
        EXPECT_FALSE(s.has(temp_name) || s.has("real/state.tmp")) << c.what;
        if (c.target_before == "damaged") {
            EXPECT_EQ(read_file(s / "real" / "state.rejected"), "damaged");
        }
        EXPECT_EQ(x_now(s), "2") << c.what;
    }
}

// A link that belongs to someone else (who may control the directory) is
// not followed: nothing is read through it and the save fails.
TEST(Safety, ALinkOfSomeoneElseIsNotFollowed) {
    if (geteuid() != 0) GTEST_SKIP() << "needs to give a link away";
    Scratch s, elsewhere;
    write_file(elsewhere / "state", state_with_x("1"));
    const std::string before = read_file(elsewhere / "state");
    fs::create_symlink(elsewhere / "state", s / state_name);
    ASSERT_EQ(lchown((s / state_name).c_str(), 4242, 4242), 0);
    Outcome r = s.run("x\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({"x"}) + msg_save_failed);
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(read_file(elsewhere / "state"), before);
}

// A save killed at each of its steps: the state path always holds a whole
// file (or nothing, when there was none), and the next start answers the
// killed session's x whenever its new file was complete, with the refused
// file kept aside.
TEST(Safety, AKillBetweenTheStepsOfASaveLosesNothing) {
    struct Case {
        const char* step;
        const char* before;  // "sound", "damaged" or "none"
        std::string next_x;
    };
    const std::vector<Case> cases = {
        {"partial", "sound", "1"},  {"partial", "damaged", "x"}, {"partial", "none", "x"},
        {"written", "sound", "2"},  {"written", "damaged", "2"}, {"written", "none", "2"},
        {"aside", "damaged", "2"},  {"renamed", "sound", "2"},   {"renamed", "damaged", "2"},
    };
    for (const Case& c : cases) {
        const std::string what = std::string(c.step) + " over " + c.before;
        Scratch s;
        const std::string before = c.before == std::string("sound") ? state_with_x("1") : "damaged";
        if (c.before != std::string("none")) write_file(s / state_name, before);
        Outcome r = s.run_program(OSTR_CONSOLE_FAULTS, "x=2\n\n", "", std::string("export OSTR_SAVE_FAULT=") + c.step + ";");
        EXPECT_EQ(r.code, 128 + 9) << what;
        if (c.before != std::string("none")) {
            EXPECT_TRUE(fs::is_regular_file(s / state_name)) << what;
        }
        EXPECT_EQ(x_now(s), c.next_x) << what;
        EXPECT_FALSE(s.has(temp_name)) << what;
        if (c.before == std::string("damaged")) {
            EXPECT_EQ(read_file(s / aside_name), "damaged") << what;
        }
        if (c.before == std::string("sound") && c.next_x == "2") {
            EXPECT_FALSE(s.has(aside_name)) << what;
        }
    }
}

// What a start does with a temporary file it finds: a complete one not older
// than the state file takes its place; a partial, foreign or older one is
// removed.
TEST(Safety, AStartRecoversOrClearsALeftTemporaryFile) {
    const std::string one = state_with_x("1"), five = state_with_x("5");
    struct Case {
        const char* what;
        std::string temp;
        bool older;
        std::string x;
    };
    const std::vector<Case> cases = {
        {"complete and newer", five, false, "5"},
        {"complete but older", five, true, "1"},
        {"cut short", five.substr(0, five.size() - 1), false, "1"},
        {"only a digest", five.substr(0, 128), false, "1"},
        {"foreign bytes", "hello", false, "1"},
    };
    for (const Case& c : cases) {
        Scratch s;
        write_file(s / state_name, one);
        write_file(s / temp_name, c.temp);
        if (c.older) fs::last_write_time(s / temp_name, fs::last_write_time(s / state_name) - std::chrono::hours(1));
        Outcome r = s.run("x\n\n");
        EXPECT_EQ(r.out, transcript({c.x})) << c.what;
        EXPECT_FALSE(s.has(temp_name)) << c.what;
        EXPECT_FALSE(s.has(aside_name)) << c.what;
    }
}

// export writes below the working directory only, never through a link at
// the end of the name or on the way; OSTRAVINE_WRITE_ANYWHERE=1 lifts that.
// Only regular files are written: a pipe is refused, not waited on.
TEST(Safety, ExportStaysInTheWorkingDirectory) {
    struct Case {
        const char* what;
        std::string name;  // "@" stands for the outside directory
        bool inside_rule;  // written under the default rule
    };
    const std::vector<Case> cases = {
        {"plain name", "a.env", true},
        {"subdirectory", "sub/./a.env", true},
        {"parent", "../a.env", false},
        {"down and up", "sub/../a.env", false},
        {"absolute", "@/a.env", false},
        {"link at the end", "link.env", false},
        {"link on the way", "away/a.env", false},
        {"pipe", "pipe.env", false},
    };
    for (bool anywhere : {false, true}) {
        for (const Case& c : cases) {
            const std::string what = std::string(c.what) + (anywhere ? " (anywhere)" : "");
            Scratch s, outside;
            fs::create_directory(s / "work");
            fs::create_directory(s / "work" / "sub");
            fs::create_symlink(outside.dir(), s / "work" / "away");
            write_file(outside / "target", "keep");
            fs::create_symlink(outside / "target", s / "work" / "link.env");
            ASSERT_EQ(mkfifo((s / "work" / "pipe.env").c_str(), 0600), 0);
            std::string name = c.name;
            if (name[0] == '@') name = outside.dir().string() + name.substr(1);
            const std::string prefix = anywhere ? "export OSTRAVINE_WRITE_ANYWHERE=1;" : "";
            Outcome r = s.run_program(OSTR_CONSOLE, "export(\"" + name + "\")\n\n", "", prefix, "work");
            const bool written = c.name != "pipe.env" && (c.inside_rule || anywhere);
            const std::string answer = r.out.substr(r.out.find(": : ") + 4, 3);
            EXPECT_EQ(answer == ">in", !written) << what << ": " << r.out;
            EXPECT_EQ(read_file(outside / "target") == "keep", !(written && c.name == "link.env")) << what;
            EXPECT_EQ(fs::exists(outside / "a.env"), written && (c.name[0] == '@' || c.name == "away/a.env")) << what;
            EXPECT_EQ(fs::exists(s / "a.env"), written && c.name == "../a.env") << what;
        }
    }
}

// import answers the same word for a file that is missing, that is no
// environment file, that is a directory or a pipe.
TEST(Safety, ImportTellsNothingAboutWhatIsNotAnEnvironmentFile) {
    Scratch s;
    write_file(s / "text.env", "just some text");
    fs::create_directory(s / "dir.env");
    ASSERT_EQ(mkfifo((s / "pipe.env").c_str(), 0600), 0);
    Outcome r = s.run("import(\"none.env\")\nimport(\"text.env\")\nimport(\"dir.env\")\nimport(\"pipe.env\")\n\n");
    EXPECT_EQ(r.out, msg_missing + transcript({">invalid_object<", ">invalid_object<", ">invalid_object<",
                                               ">invalid_object<"}));
}

// init.txt runs only as a regular file of the user's that no one else can
// write; otherwise a one-line notice says it was skipped.
TEST(Safety, AnInitScriptOthersCouldWriteIsSkipped) {
    struct Case {
        const char* what;
        int mode;           // for a regular file
        bool as_link;       // a link to a sound script instead
        bool foreign_owner; // given to another user (needs root)
        bool runs;
    };
    const std::vector<Case> cases = {
        {"own, 0644", 0644, false, false, true}, {"own, 0600", 0600, false, false, true},
        {"group-writable", 0664, false, false, false}, {"world-writable", 0646, false, false, false},
        {"a link", 0644, true, false, false},     {"someone else's", 0644, false, true, false},
    };
    for (const Case& c : cases) {
        if (c.foreign_owner && geteuid() != 0) continue;
        Scratch s;
        write_file(s / (c.as_link ? "script.txt" : "init.txt"), "k=42\n");
        if (c.as_link) fs::create_symlink("script.txt", s / "init.txt");
        ASSERT_EQ(chmod((s / (c.as_link ? "script.txt" : "init.txt")).c_str(), c.mode), 0);
        if (c.foreign_owner) {
            ASSERT_EQ(chown((s / "init.txt").c_str(), 4242, 4242), 0);
        }
        Outcome r = s.run("k\n\n");
        EXPECT_EQ(r.out, (c.runs ? "" : msg_skipped_script) + msg_missing + transcript({c.runs ? "42" : "k"}))
            << c.what;
    }
    Scratch dir;
    fs::create_directory(dir / "init.txt");
    EXPECT_EQ(dir.run("1\n\n").out, msg_skipped_script + msg_missing + transcript({"1"}));
}

}  // namespace
}  // namespace ostr::test
