// The file commands in a scratch working directory: every kind of value
// through write and read, numeric text in its accepted and refused forms,
// numbers kept to the last bit, the error word of each failure, the writing
// rule, and listf.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "objects/matrix.hpp"
#include "scratch_dir.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class Files : public ScriptTest {
protected:
    ScratchDir scratch;
};

// write then read gives back what was written, whatever its type.
TEST_F(Files, EveryKindOfValueRoundTrips) {
    const char* values[] = {
        "0.1+0.2", "-2.5e-300", "3-4*i", "a*b+1", "\"two \\\"quoted\\\" words\\n\"", "[1,[2,\"x\"],map:1=2;]",
        "map:\"k\"=[1,2],3=\"v\";", "matrix:[1,x],[0.5,-2];", "big(2)^200+1", "[]",
        "node(2,\"n\")", "mutate(map:\"a\"=1;)",
    };
    for (const char* v : values) {
        SCOPED_TRACE(v);
        run(std::string("v=") + v);
        const std::string shown = run("v");
        const std::string written = run("write(\"v.val\",v)");
        ASSERT_TRUE(!written.empty() && written[0] != '>') << written;
        EXPECT_GT(std::stod(written), 20.0) << written;
        EXPECT_EQ(std::filesystem::file_size("v.val"), std::stoul(written));
        EXPECT_EQ(run("read(\"v.val\")"), shown);
    }
    // A class instance keeps its class and members.
    check({{"pt=class_definition:x=0,y=0;", "pt <- class_definition:x=0,y=0;"},
           {"p=pt(),p.x=3", "p <- pt()\n\np.x <- 3"},
           {"write(\"p.val\",p)>0", "1"},
           {"read(\"p.val\")", "pt:x=3,y=0;"},
           {"read(\"p.val\")==p", "1"}});
}

// Numbers come back bit for bit, through both kinds of file.
TEST_F(Files, NumbersKeepEveryBit) {
    check({
        {"x=[0.1+0.2,1/3,pi,-1e-300,2^53+1,5e-324]", "x <- [0.1+0.2,1/3,pi,-1e-300,2^53+1,5e-324]"},
        {"write(\"x.val\",x)>0", "1"},
        {"y=read(\"x.val\")", "y <- read(\"x.val\")"},
        {"[y[1]-x[1],y[2]-x[2],y[3]-x[3],y[4]-x[4],y[6]-x[6]]", "[0,0,0,0,0]"},
        {"writematrix(\"x.csv\",x)", "89"},
        {"readstring(\"x.csv\")",
         "\"0.30000000000000004\\n0.3333333333333333\\n3.141592653589793\\n-1e-300\\n9007199254740992\\n5e-324\\n\""},
        {"z=readvector(\"x.csv\")", "z <- readvector(\"x.csv\")"},
        {"[z[1]-x[1],z[2]-x[2],z[3]-x[3],z[4]-x[4],z[6]-x[6]]", "[0,0,0,0,0]"},
        {"m=matrix:[1/3,-0.1],[1e22,7];", "m <- matrix:[1/3,-0.1],[1e22,7];"},
        {"m.writematrix(\"m.csv\")", "32"},
        {"readstring(\"m.csv\")", "\"0.3333333333333333,-0.1\\n1e+22,7\\n\""},
        {"readmatrix(\"m.csv\")==m", "1"},
        {"r=readmatrix(\"m.csv\"),r[1][1]-1/3", "r <- readmatrix(\"m.csv\")\n\n0"},
        // The text form without a file keeps its 15 digits.
        {"m.writematrix()", "\"0.333333333333333,-0.1\\n1E+22,7\\n\""},
    });
}

struct TextCase {
    const char* content;
    const char* matrix;
    const char* vector;
};

// What readmatrix and readvector make of a file, and which files they refuse.
TEST_F(Files, NumericTextForms) {
    const TextCase cases[] = {
        {"1,2\n3,4\n", "matrix:[1,2],[3,4];", "[1,2,3,4]"},
        {"1 2\n3\t  4", "matrix:[1,2],[3,4];", "[1,2,3,4]"},
        {"a,b\n1,2\n", "matrix:[1,2];", "[1,2]"},
        {"time value\r\n0 1.5\r\n\r\n  \r\n1 -2e-3\r\n", "matrix:[0,1.5],[1,-0.002];", "[0,1.5,1,-0.002]"},
        {" +1 , -2.5 ,.5\n", "matrix:[1,-2.5,0.5];", "[1,-2.5,0.5]"},
        {"7\n8\n9\n", "matrix:[7],[8],[9];", "[7,8,9]"},
        {"1,2\n3\n", ">malformed_csv<", ">malformed_csv<"},
        {"1,,2\n", ">malformed_csv<", ">malformed_csv<"},
        {"1,2,\n", ">malformed_csv<", ">malformed_csv<"},
        {"a,b\nc,d\n", ">malformed_csv<", ">malformed_csv<"},
        {"1,2\nx,y\n", ">malformed_csv<", ">malformed_csv<"},
        {"a,b\n", ">malformed_csv<", ">malformed_csv<"},
        {"", ">malformed_csv<", ">malformed_csv<"},
        {"\n \n", ">malformed_csv<", ">malformed_csv<"},
        {"1,nan\n", ">malformed_csv<", ">malformed_csv<"},
        {"1,inf\n", ">malformed_csv<", ">malformed_csv<"},
        {"1e999\n", ">malformed_csv<", ">malformed_csv<"},
        {"0x10\n", ">malformed_csv<", ">malformed_csv<"},
        {"1;2\n", ">malformed_csv<", ">malformed_csv<"},
        {"+-1\n", ">malformed_csv<", ">malformed_csv<"},
        {"1 2\n3,4\n", "matrix:[1,2],[3,4];", "[1,2,3,4]"},
        {"1 2\n3,4,5\n", ">malformed_csv<", ">malformed_csv<"},
    };
    for (const TextCase& c : cases) {
        ScratchDir::put("t.csv", c.content);
        EXPECT_EQ(run("readmatrix(\"t.csv\")"), c.matrix) << c.content;
        EXPECT_EQ(run("readvector(\"t.csv\")"), c.vector) << c.content;
    }
    // One number past the bound of a matrix, in rows and in one line.
    std::string rows;
    for (std::size_t k = 0; k <= obj::max_matrix_elements; ++k) rows += "1\n";
    ScratchDir::put("t.csv", rows);
    EXPECT_EQ(run("readvector(\"t.csv\")"), ">malformed_csv<");
    for (char& c : rows) c = c == '\n' ? ',' : c;
    rows.back() = '\n';
    ScratchDir::put("t.csv", rows);
    EXPECT_EQ(run("readmatrix(\"t.csv\")"), ">malformed_csv<");
}

// Each failure names its reason, and a failed command changes no file.
TEST_F(Files, FailuresNameTheirReason) {
    std::filesystem::create_directory("sub");
    ScratchDir::put("keep.csv", "1,2\n");
    ScratchDir::put("zero.txt", std::string("a\0b", 3));
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    ASSERT_EQ(::symlink("target.val", "link.val"), 0);
    check({
        {"readmatrix(\"missing.csv\")", ">file_not_found<"},
        {"read(\"missing.val\")", ">file_not_found<"},
        {"readstring(\"sub/missing.txt\")", ">file_not_found<"},
        {"readvector(\"keep.csv/x\")", ">file_not_found<"},
        {"readstring(\"sub\")", ">is_a_directory<"},
        {"readmatrix(\"sub/\")", ">is_a_directory<"},
        {"read(\".\")", ">is_a_directory<"},
        {"readstring(\"pipe\")", ">file_not_readable<"},
        {"read(\"keep.csv\")", ">malformed_file<"},
        {"readstring(\"zero.txt\")", ">malformed_file<"},
        {"write(\"sub\",1)", ">is_a_directory<"},
        {"writematrix(\"sub\",[1])", ">is_a_directory<"},
        {"write(\"../up.val\",1)", ">file_not_writable<"},
        {"write(\"sub/../up.val\",1)", ">file_not_writable<"},
        {"write(\"/tmp/ostr_absolute.val\",1)", ">file_not_writable<"},
        {"write(\"link.val\",1)", ">file_not_writable<"},
        {"write(\"pipe\",1)", ">file_not_writable<"},
        {"writematrix(\"keep.csv\",matrix:[x,1];)", ">invalid_expression<"},
        {"writematrix(\"keep.csv\",[1+i])", ">invalid_expression<"},
        {"writematrix(\"keep.csv\",[\"a\"])", ">invalid_expression<"},
        {"writematrix(\"keep.csv\",5)", ">invalid_expression<"},
        {"writematrix(\"keep.csv\",[])", ">invalid_expression<"},
        {"readmatrix(1)", ">invalid_expression<"},
        {"readstring(\"\")", ">invalid_expression<"},
        {"write(x,1)", ">invalid_expression<"},
        {"m=readmatrix(\"missing.csv\")", ">invalid_expression<"},
        {"matrix:[1,2];.writematrix(\"a\",\"b\")", ">invalid_expression<"},
        {"read(\"keep.csv\",1)", ">invalid_expression<"},
    });
    EXPECT_EQ(ScratchDir::get("keep.csv"), "1,2\n");
    EXPECT_FALSE(std::filesystem::exists("target.val"));
    EXPECT_FALSE(std::filesystem::exists("../up.val"));
    EXPECT_FALSE(std::filesystem::exists("/tmp/ostr_absolute.val"));
    // Reading may go anywhere: it cannot harm the file.
    ScratchDir::put("sub/in.txt", "up");
    check({{"readstring(\"sub/../sub/in.txt\")", "\"up\""}});
    const std::string absolute = (scratch.dir() / "sub" / "in.txt").string();
    EXPECT_EQ(run("readstring(\"" + absolute + "\")"), "\"up\"");
}

TEST_F(Files, WritingReplacesAndSubdirectoriesWork) {
    std::filesystem::create_directory("data");
    check({
        {"write(\"data/a.val\",\"first\")>0", "1"},
        {"write(\"data/a.val\",[1,2,3])>0", "1"},
        {"read(\"data/a.val\")", "[1,2,3]"},
        {"writematrix(\"./data/b.csv\",identity(2))", "8"},
        {"readstring(\"data/b.csv\")", "\"1,0\\n0,1\\n\""},
    });
}

TEST_F(Files, ListfShowsNamesAndSizes) {
    EXPECT_EQ(run("listf()"), "[]");
    ScratchDir::put("b.txt", "abc");
    ScratchDir::put(".hidden", "");
    std::filesystem::create_directory("a");
    ASSERT_EQ(::symlink("b.txt", "c.lnk"), 0);
    ASSERT_EQ(::symlink("gone", "d.lnk"), 0);
    EXPECT_EQ(run("listf()"), "[[\".hidden\",0],[\"a/\",0],[\"b.txt\",3],[\"c.lnk\",3],[\"d.lnk\",4]]");
    check({{"l=listf(),l[3][1]", "l <- listf()\n\n\"b.txt\""}, {"listf(1)", ">invalid_expression<"}});
}

}  // namespace
}  // namespace ostr::test
