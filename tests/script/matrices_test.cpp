// Matrices in the language: literals and printing that reads back, element
// access and assignment, arithmetic with numbers, formulas and arrays, every
// method, answers against NumPy/SciPy (values below from numpy 1.x and
// scipy.linalg.expm, shown to 10 digits), bad input, sharing, and the
// value bytes in the environment stream.
#include "envio/containers_io.hpp"
#include "objects/matrix.hpp"
#include "script_support.hpp"

namespace ostr::test {
namespace {

class Matrices : public ScriptTest {};

TEST_F(Matrices, LiteralsAccessAndArithmetic) {
    check({
        {"m=matrix:[1,2],[3,4];", "m <- matrix:[1,2],[3,4];"},
        {"m", "matrix:[1,2],[3,4];"},
        {"m[2][1]", "3"},
        {"m[2]", "[3,4]"},
        {"m[1][2]=7", "m[1][2] <- 7"},
        {"m[2]=[5,6]", "m[2] <- [5,6]"},
        {"m", "matrix:[1,7],[5,6];"},
        {"[[1,2],[3,4]].matrix()", "matrix:[1,2],[3,4];"},
        {"[1,2,3].matrix()", "matrix:[1,2,3];"},
        {"matrix:[1+i,x],[0,-2];", "matrix:[1+i,x],[0,-2];"},
        {"zeros(2,3)", "matrix:[0,0,0],[0,0,0];"},
        {"identity(2)", "matrix:[1,0],[0,1];"},
        {"a=matrix:[1,2],[3,4];", "a <- matrix:[1,2],[3,4];"},
        {"a*a", "matrix:[7,10],[15,22];"},
        {"a+a", "matrix:[2,4],[6,8];"},
        {"a-1", "matrix:[0,1],[2,3];"},
        {"2*a", "matrix:[2,4],[6,8];"},
        {"a/2", "matrix:[0.5,1],[1.5,2];"},
        {"-a", "matrix:[-1,-2],[-3,-4];"},
        {"a^3", "matrix:[37,54],[81,118];"},
        {"a^0", "matrix:[1,0],[0,1];"},
        {"a^-1", "matrix:[-2,1],[1.5,-0.5];"},
        {"a*[1,1]", "[3,7]"},
        {"[1,1]*a", "[4,6]"},
        {"a==matrix:[1,2],[3,4];", "1"},
        {"a~=a*2", "1"},
        {"s=matrix:[x,1],[0,y];", "s <- matrix:[x,1],[0,y];"},
        {"s*s", "matrix:[x^2,x+y],[0,y^2];"},
        {"s+1", "matrix:[x+1,2],[1,y+1];"},
        {"c=matrix:[i,2],[3,4];", "c <- matrix:[i,2],[3,4];"},
        {"c.det()", "-6+4*i"},
        {"c*c", "matrix:[5,8+2*i],[12+3*i,22];"},
    });
}

TEST_F(Matrices, StructuralMethods) {
    check({
        {"m=matrix:[1,2],[3,4];", "m <- matrix:[1,2],[3,4];"},
        {"m.size()", "4"},
        {"m.dims()", "[2,2]"},
        {"m.transpose()", "matrix:[1,3],[2,4];"},
        {"m.trace()", "5"},
        {"m.vectorize()", "[1,3,2,4]"},
        {"matrix:[1,3,2,4];.matricize()", "matrix:[1,2],[3,4];"},
        {"v=matrix:[1,3,2,4];", "v <- matrix:[1,3,2,4];"},
        {"v.matricize()", "matrix:[1,2],[3,4];"},
        {"m.array()", "[[1,2],[3,4]]"},
        {"m.elem(2,1)", "3"},
        {"m.dirmul(m)", "matrix:[1,4],[9,16];"},
        {"m.diradd(10)", "matrix:[11,12],[13,14];"},
        {"m.mul(m)", "matrix:[7,10],[15,22];"},
        {"m.kron(identity(2))", "matrix:[1,0,2,0],[0,1,0,2],[3,0,4,0],[0,3,0,4];"},
        {"m.conj()", "matrix:[1,2],[3,4];"},
        {"m.writematrix()", "\"1,2\\n3,4\\n\""},
        {"m.append([5,6])", "matrix:[1,2],[3,4],[5,6];"},
        {"m.appendcol([7,8,9])", "matrix:[1,2,7],[3,4,8],[5,6,9];"},
        {"m.insert(1,[0,0,0])", "matrix:[0,0,0],[1,2,7],[3,4,8],[5,6,9];"},
        {"m.insertcol(4,[1,1,1,1])", "matrix:[0,0,0,1],[1,2,7,1],[3,4,8,1],[5,6,9,1];"},
        {"m.delete(1,3)", "matrix:[1,2,7,1],[5,6,9,1];"},
        {"m.deletecol(4)", "matrix:[1,2,7],[5,6,9];"},
        {"m.swap(1,2)", "matrix:[5,6,9],[1,2,7];"},
        {"m.swapcol(1,3)", "matrix:[9,6,5],[7,2,1];"},
        {"m.enlarge(3)", "matrix:[9,6,5],[7,2,1],[0,0,0];"},
        {"m.elem(3,3,x)", "matrix:[9,6,5],[7,2,1],[0,0,x];"},
        {"m", "matrix:[9,6,5],[7,2,1],[0,0,x];"},
    });
}

TEST_F(Matrices, NumericMethodsAgainstNumpy) {
    check({
        {"sigdigits(10)", "10"},
        {"a=matrix:[4,-2,1,3],[3,6,-4,2],[2,1,8,-5],[1,-3,2,7];",
         "a <- matrix:[4,-2,1,3],[3,6,-4,2],[2,1,8,-5],[1,-3,2,7];"},
        {"a.det()", "1654"},
        {"a.eigvals()", "[3.196069255,5.948801222,7.927564761-4.914044198*i,7.927564761+4.914044198*i]"},
        {"a.svd()", "[10.83045913,9.201459531,6.613317847,2.509646317]"},
        {"a.norm()", "10.83045913"},
        {"a.norm(\"fro\")", "15.87450787"},
        {"a.norm(1)", "17"},
        {"a.norm(\"inf\")", "16"},
        {"a.cond()", "4.315532055"},
        {"a.rank()", "4"},
        {"e=matrix:[0,1],[-2,-3];", "e <- matrix:[0,1],[-2,-3];"},
        {"e.expm()", "matrix:[0.6004235991,0.2325441579],[-0.4650883159,-0.0972088747];"},
        {"matrix:[0,-2],[2,0];.expm()", "matrix:[-0.4161468365,-0.9092974268],[0.9092974268,-0.4161468365];"},
        {"matrix:[i,0],[0,-i];.expm()", "matrix:[0.5403023059+0.8414709848*i,0],[0,0.5403023059-0.8414709848*i];"},
        {"matrix:[1,i],[2,3];.invert()",
         "matrix:[0.6923076923+0.4615384615*i,0.1538461538-0.2307692308*i],[-0.4615384615-0.3076923077*i,"
         "0.2307692308+0.1538461538*i];"},
        {"matrix:[1,i],[2,3];.solve([1,0])", "[0.6923076923+0.4615384615*i,-0.4615384615-0.3076923077*i]"},
        {"t=matrix:[1,1],[1,2],[1,3],[1,4];", "t <- matrix:[1,1],[1,2],[1,3],[1,4];"},
        {"t.solve([6,5,7,10])", "[3.5,1.4]"},
        {"(t.pinv()*t-identity(2)).norm()<1e-15", "1"},
        {"b=matrix:[2,0,1],[1,3,2],[1,1,2];", "b <- matrix:[2,0,1],[1,3,2],[1,1,2];"},
        {"b.solve([3,6,4])", "[1,1,1]"},
        {"(b.invert()*b-identity(3)).norm()<1e-15", "1"},
        {"(b.lu(3)*b-b.lu(1)*b.lu(2)).norm()<1e-15", "1"},
        {"(b.qr(1)*b.qr(2)-b).norm()<1e-14", "1"},
        {"(b.svd(1)*b.svd(2)*b.svd(3).transpose()-b).norm()<1e-14", "1"},
        {"p=matrix:[2,1],[1,2];", "p <- matrix:[2,1],[1,2];"},
        {"p.eigvals()", "[1,3]"},
        {"p.eigvecs()", "matrix:[0.7071067812,0.7071067812],[-0.7071067812,0.7071067812];"},
        {"r=matrix:[0,-1],[1,0];", "r <- matrix:[0,-1],[1,0];"},
        {"r.eigvals()", "[-i,i]"},
        {"v=r.eigvecs()", "v <- r.eigvecs()"},
        {"r*v-v*matrix:[-i,0],[0,i];", "matrix:[0,0],[0,0];"},
        {"c=matrix:[2,i],[-i,2];", "c <- matrix:[2,i],[-i,2];"},
        {"c.eigvals()", "[1,3]"},
        {"d=matrix:[1+i,2],[0,3-i];", "d <- matrix:[1+i,2],[0,3-i];"},
        {"d.eigvals()", "[1+i,3-i]"},
        {"w=d.eigvecs()", "w <- d.eigvecs()"},
        {"(d*w-w*matrix:[1+i,0],[0,3-i];).norm(1)<1e-15", "1"},
        {"matrix:[0,0,i],[i,0,0],[0,i,0];.eigvals()", "[-0.8660254038-0.5*i,1*i,0.8660254038-0.5*i]"},
        {"u=matrix:[3*i,4],[4*i,-3];", "u <- matrix:[3*i,4],[4*i,-3];"},
        {"u.svd()", "[5,5]"},
        {"u.norm()", "5"},
        {"u.cond()", "1"},
        {"matrix:[1,i],[i,-1];.rank()", "1"},
        {"c.cond()", "3"},
        {"(u.svd(1)*u.svd(2)*u.svd(3).conj().transpose()-u).norm()<1e-14", "1"},
        {"(u.qr(1)*u.qr(2)-u).norm()<1e-14", "1"},
        {"(u.pinv()*u-identity(2)).norm()<1e-14", "1"},
        {"k=matrix:[1,i,2],[0,1-i,3];", "k <- matrix:[1,i,2],[0,1-i,3];"},
        {"(k.svd(1)*k.svd(2)*k.svd(3).conj().transpose()-k).norm()<1e-14", "1"},
        {"(k*k.pinv()-identity(2)).norm()<1e-14", "1"},
        {"k.qr(1)", ">invalid_expression<"},
        {"k.svd(4)", ">invalid_expression<"},
        {"matrix:[2,1],[0,2];.eigvecs()", ">invalid_expression<"},
        {"matrix:[1,1,0],[0,1,1],[0,0,1];.eigvecs()", ">invalid_expression<"},
        {"matrix:[i,1],[0,i];.eigvecs()", ">invalid_expression<"},
        {"matrix:[2,0,0],[1,2,0],[0,0,5];.eigvals()", "[2,2,5]"},
        {"g=matrix:[2,0,1],[0,2,0],[0,0,5];", "g <- matrix:[2,0,1],[0,2,0],[0,0,5];"},
        {"v=g.eigvecs()", "v <- g.eigvecs()"},
        {"(g*v-v*matrix:[2,0,0],[0,2,0],[0,0,5];).norm()<1e-14", "1"},
        {"abs(v.det())>0.9", "1"},
        {"q=matrix:[1,2,3],[4,5,6],[7,8,9];", "q <- matrix:[1,2,3],[4,5,6],[7,8,9];"},
        {"q.rank()", "2"},
        {"q.det()", "0"},
        {"q.invert()", ">invalid_expression<"},
        {"q^-1", ">invalid_expression<"},
        {"q.cond()", ">invalid_expression<"},
    });
}

// Each line leaves m as it was; a formula element keeps the matrix but the
// numeric methods refuse it.
TEST_F(Matrices, BadInputAnswersAnErrorAndChangesNothing) {
    check(
        {{"m=matrix:[1,2],[3,4];", "m <- matrix:[1,2],[3,4];"}, {"f=matrix:[1,x],[2,3];", "f <- matrix:[1,x],[2,3];"}});
    const Line bad[] = {
        {"matrix:[1,2],[3];", ">invalid_expression<"},
        {"matrix:[1,2],3;", ">invalid_expression<"},
        {"matrix:[1,\"s\"];", ">invalid_expression<"},
        {"matrix:[1,[2]];", ">invalid_expression<"},
        {"[[1,2],[3]].matrix()", ">invalid_expression<"},
        {"zeros(0,3)", ">invalid_expression<"},
        {"zeros(2.5,3)", ">invalid_expression<"},
        {"zeros(10000,10000)", ">evaluation_aborted<"},
        {"identity(-1)", ">invalid_expression<"},
        {"m[3][1]", ">invalid_object<"},
        {"m[1][0]", ">invalid_object<"},
        {"m[1][1]=\"s\"", ">invalid_expression<"},
        {"m[3][1]=1", ">invalid_assignment<"},
        {"m[1]=[1,2,3]", ">invalid_assignment<"},
        {"m.det()=1", ">invalid_assignment<"},
        {"m+matrix:[1,2,3];", ">invalid_expression<"},
        {"m*matrix:[1,2,3];", ">invalid_expression<"},
        {"m*[1,2,3]", ">invalid_expression<"},
        {"m^0.5", ">invalid_expression<"},
        {"m^m", ">invalid_expression<"},
        {"2/m", ">invalid_expression<"},
        {"m/0", ">invalid_expression<"},
        {"m.nope()", ">invalid_expression<"},
        {"m.append([1,2,3])", ">invalid_expression<"},
        {"m.delete(1,2)", ">invalid_expression<"},
        {"m.delete(1,1)", ">invalid_expression<"},
        {"m.insert(4,[1,2])", ">invalid_expression<"},
        {"m.enlarge(1)", ">invalid_expression<"},
        {"m.lu(4)", ">invalid_expression<"},
        {"m.norm(3)", ">invalid_expression<"},
        {"m.solve([1,2,3])", ">invalid_expression<"},
        {"m.kron(1)", ">invalid_expression<"},
        {"f.det()", ">invalid_expression<"},
        {"f.invert()", ">invalid_expression<"},
        {"f.eigvals()", ">invalid_expression<"},
        {"f.eigvecs()", ">invalid_expression<"},
        {"matrix:[i,1,2],[0,1,i];.eigvals()", ">invalid_expression<"},
        {"f.svd()", ">invalid_expression<"},
        {"f.rank()", ">invalid_expression<"},
        {"f^-1", ">invalid_expression<"},
        {"matrix:[i,0],[0,1];", "matrix:[i,0],[0,1];"},
    };
    for (const Line& l : bad) EXPECT_EQ(run(l.line), l.answer) << l.line;
    check({{"m", "matrix:[1,2],[3,4];"}, {"f", "matrix:[1,x],[2,3];"}, {"f.transpose()", "matrix:[1,2],[x,3];"}});
}

TEST_F(Matrices, CopiesShareUntilOneChanges) {
    check({{"m=matrix:[1,2],[3,4];", "m <- matrix:[1,2],[3,4];"}, {"b=m", "b <- m"}});
    EXPECT_EQ(obj::find(env, "m")->value, obj::find(env, "b")->value);
    check({{"b[1][1]=9", "b[1][1] <- 9"},
           {"b.append([0,0])", "matrix:[9,2],[3,4],[0,0];"},
           {"m", "matrix:[1,2],[3,4];"},
           {"b", "matrix:[9,2],[3,4],[0,0];"}});
}

// What a matrix prints as, typed back in, is the same matrix.
TEST_F(Matrices, PrintedFormReadsBack) {
    for (const char* lit : {"matrix:[1,-2.5],[1e-300,3e+20];", "matrix:[1+i,-i],[z9^2,0.1];", "identity(3)/7"}) {
        const std::string first = run(lit);
        EXPECT_EQ(run(first), first) << lit;
        run(std::string("x=").append(first));
        EXPECT_EQ(run(std::string("x==").append(first)), "1") << lit;
    }
}

// The value bytes round-trip, and every shortened or damaged copy reads as
// nothing rather than as a wrong matrix.
TEST_F(Matrices, StreamBytesRoundTripAndRefuseDamage) {
    run("m=matrix:[1,x],[2+i,4];");
    const obj::Object* m = obj::find(env, "m");
    Text bytes;
    envio::put_container(bytes, m);
    obj::Object* back = envio::read_container(obj::matrix, bytes, "n", env);
    ASSERT_NE(back, nullptr);
    obj::store(env, back);
    EXPECT_EQ(run("n==m"), "1");
    for (std::size_t cut = 0; cut < bytes.size(); ++cut)
        EXPECT_EQ(envio::read_container(obj::matrix, std::string_view(bytes).substr(0, cut), "x", env), nullptr) << cut;
    Text huge = bytes;
    huge[0] = '\xff', huge[1] = '\xff';  // 65535 rows claimed
    EXPECT_EQ(envio::read_container(obj::matrix, huge, "x", env), nullptr);
    Text zero = bytes;
    zero[0] = zero[1] = zero[2] = zero[3] = 0;
    EXPECT_EQ(envio::read_container(obj::matrix, zero, "x", env), nullptr);
}

}  // namespace
}  // namespace ostr::test
