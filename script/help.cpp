// help(): the topics of the language and the entry of one name. Predefined
// functions answer from the evaluator's help table; statement words,
// commands and methods from the table here. The answer is plain text (a
// formula value), so the console shows its lines as they are.
#include "script/help.hpp"

#include <algorithm>
#include <array>

#include "grammar/scan.hpp"
#include "lang/builtins.hpp"
#include "lang/globals.hpp"
#include "script/script.hpp"
#include "script/string_methods.hpp"

namespace ostr::script {
namespace {

using K = HelpKind;

constexpr HelpText texts[] = {
    {K::word, "if", "if:condition,statements;", "runs the statements when the condition is 1 (see elseif, else)",
     "if:2>1,5;", "5"},
    {K::word, "elseif", "if:c1,s1,elseif,c2,s2;", "in an if block: the next condition, tried when none before was 1",
     "x=-2,if:x>0,1,elseif,x<0,-1,else,0;", "-1"},
    {K::word, "else", "if:c,s1,else,s2;", "in an if block: the statements run when no condition was 1",
     "if:0,1,else,2;", "2"},
    {K::word, "for", "for:initialiser,condition,step,statements;",
     "runs the initialiser, then the statements and the step while the condition is 1",
     "for:k=1,k<=4,k=k+1,t=k;,t", "4"},
    {K::word, "while", "while:condition,statements;", "runs the statements while the condition is 1",
     "k=1,while:k<100,k=2*k;,k", "128"},
    {K::word, "break", "break", "leaves the innermost for or while loop",
     "for:k=1,k<10,k=k+1,if:k==3,break;;,k", "3"},
    {K::word, "private", "private:statements;", "runs its statements in order",
     "private:u=4;,u", "4"},
    {K::word, "class_definition", "c=class_definition:x=0,private:s=0;,static:n=0;,f(a)=...;",
     "defines the class c: members with defaults, methods that see this, private and static members",
     "c=class_definition:x=1,f(a)=a+x;,c().f(2)", "3"},
    {K::word, "static", "class_definition:...,static:n=0;;", "in a class: members shared by every instance",
     "c=class_definition:static:n=7;;,c.n", "7"},
    {K::word, "prototype", "class_definition:prototype=base,...;",
     "in a class: starts from the members and methods of the class base",
     "b=class_definition:x=1;,d=class_definition:prototype=b,y=2;,d().x", "1"},
    {K::word, "this", "this.x", "inside a method: the instance it was called on",
     "c=class_definition:x=3,f()=this.x;,c().f()", "3"},
    {K::word, "ans", "ans",
     "the last answer of a top-level statement (a number, formula or any value); not saved with the session",
     "6*7,ans+1", "43"},
    {K::word, "array", "array:n;", "an array of n zeros; [a,b,...] writes one out",
     "array:3;", "[0,0,0]"},
    {K::word, "map", "map:k=v,...;", "a map from the keys (numbers or strings) to the values",
     "map:\"a\"=1;", "map:\"a\"=1;"},
    {K::word, "matrix", "matrix:[row],...;", "a matrix from rows of equal length",
     "matrix:[1,2],[3,4];", "matrix:[1,2],[3,4];"},
    {K::command, "mutate", "mutate(x)", "a mutant: an object whose members are added by m.name=... and removed",
     "m=mutate(),m.k=3,m.k", "3"},
    {K::command, "node", "node(value,\"label\")", "a new node of a graph; a.connect(b,w) adds the edge a->b",
     "node(5,\"a\").value()", "5"},
    {K::command, "bfs", "bfs(n)", "the nodes reached from n along edges, breadth first",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b),bfs(a).size()", "2"},
    {K::command, "dfs", "dfs(n)", "the nodes reached from n along edges, depth first",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b),dfs(a).size()", "2"},
    {K::command, "shortestpath", "shortestpath(a,b)", "the nodes of a lightest path from a to b (Dijkstra)",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,4),shortestpath(a,b).size()", "2"},
    {K::command, "distance", "distance(a,b)", "the total weight of a lightest path from a to b",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,4),distance(a,b)", "4"},
    {K::command, "components", "components(nodes)", "the connected components around the nodes, as arrays",
     "a=node(1,\"a\"),b=node(2,\"b\"),components([a,b]).size()", "2"},
    {K::command, "toposort", "toposort(nodes)", "the nodes reached, each before those its edges lead to",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b),toposort([b,a])", "[node(1,\"a\"),node(2,\"b\")]"},
    {K::command, "help", "help(name)", "the help of a name; help() lists the topics",
     "text(help(sin)).length()>10", "1"},
    {K::command, "sigdigits", "sigdigits(n)", "shows numbers with n significant digits, n from 1 to 15",
     "sigdigits(3),pi", "3.14"},
    {K::command, "bigdigits", "bigdigits=n",
     "the digits big numbers are computed and shown with, 1 to 10000000 (30 when unset)",
     "bigdigits=5,big(1)/3", "0.33333"},
    {K::command, "zeros", "zeros(r,c)", "the r by c matrix of zeros",
     "zeros(2,2)", "matrix:[0,0],[0,0];"},
    {K::command, "identity", "identity(n)", "the n by n identity matrix",
     "identity(2)", "matrix:[1,0],[0,1];"},
    {K::command, "export", "export(\"FILE\")", "writes the session's names to FILE; answers how many",
     "export(\"help_example.env\")>0", "1"},
    {K::command, "import", "import(\"FILE\")", "merges the names of FILE into the session; answers how many",
     "export(\"help_example.env\"),import(\"help_example.env\")>0", "1"},
    {K::command, "history", "history(n)",
     "history() lists the lines of the session with their answers; history(n) runs line n again (-1 the last)",
     "text(history()).length()>0", "1"},
    {K::command, "write", "write(\"FILE\",x)", "writes the value x (any type) to FILE; answers the bytes written",
     "write(\"help_w.val\",[1,2])>0", "1"},
    {K::command, "read", "read(\"FILE\")", "the value that write put in FILE",
     "write(\"help_w.val\",[1,2]),read(\"help_w.val\")", "[1,2]"},
    {K::command, "writematrix", "writematrix(\"FILE\",m)",
     "writes the numbers of m (or of an array) as comma-separated rows in full precision",
     "writematrix(\"help_m.csv\",matrix:[1,2],[3,4];)>0", "1"},
    {K::command, "readmatrix", "readmatrix(\"FILE\")",
     "a matrix from rows of numbers separated by commas or spaces (a header line is skipped)",
     "writematrix(\"help_m.csv\",matrix:[1,2],[3,4];),readmatrix(\"help_m.csv\")", "matrix:[1,2],[3,4];"},
    {K::command, "readvector", "readvector(\"FILE\")", "the numbers of a file of numbers, row after row, as an array",
     "writematrix(\"help_m.csv\",matrix:[1,2],[3,4];),readvector(\"help_m.csv\")", "[1,2,3,4]"},
    {K::command, "readstring", "readstring(\"FILE\")", "the whole text of FILE as a string",
     "writestring(\"help_s.txt\",\"hi\"),readstring(\"help_s.txt\")", "\"hi\""},
    {K::command, "writestring", "writestring(\"FILE\",s)",
     "writes the text of the string s to FILE; answers the bytes written",
     "writestring(\"help_s.txt\",\"hi\")", "2"},
    {K::command, "listf", "listf()",
     "the files of the working directory as [name, bytes] pairs; directories end in /",
     "writestring(\"help_s.txt\",\"hi\"),listf().size()>0", "1"},
    {K::command, "plot", "plot(f,x,a,b)",
     "draws f (or [f,g,...]) for x from a to b into a PNG file; answers its name",
     "plot(sin(x),x,0,1,\"help_plot.png\")", "\"help_plot.png\""},
    {K::command, "plotparam", "plotparam(fx,fy,t,a,b)", "draws the curve (fx,fy) for t from a to b into a PNG file",
     "plotparam(cos(t),sin(t),t,0,1,\"help_param.png\")", "\"help_param.png\""},
    {K::command, "plotdata", "plotdata(x,y)", "draws the array y (or arrays) against x (or 1,2,...) into a PNG file",
     "plotdata([1,4,9],\"help_data.png\")", "\"help_data.png\""},
    {K::command, "plotcomplex", "plotcomplex(f,z,c1,c2)",
     "domain colouring of f over the corners c1, c2 into a PNG file",
     "plotcomplex(z^2,z,-1-i,1+i,\"help_complex.png\")", "\"help_complex.png\""},
    {K::command, "plotfft", "plotfft(a)", "draws the magnitude spectrum of the array a into a PNG file",
     "plotfft([1,0,-1,0],\"help_fft.png\")", "\"help_fft.png\""},
    {K::command, "text", "text(x)", "what the console shows for x, as a string",
     "text(1/4)", "\"0.25\""},
    {K::command, "number", "number(s)", "the number a string holds (decimal, 0x, 0b)",
     "number(\"0x1f\")", "31"},
    {K::command, "sha256", "sha256(s)", "the SHA-256 digest of a string, in hexadecimal",
     "sha256(\"abc\").length()", "64"},
    {K::command, "sha512", "sha512(s)", "the SHA-512 digest of a string, in hexadecimal",
     "sha512(\"abc\").length()", "128"},
    {K::command, "saltedhash", "saltedhash(s)", "a salted hash of a string, for storing a password",
     "testsaltedhash(\"pw\",saltedhash(\"pw\"))", "1"},
    {K::command, "testsaltedhash", "testsaltedhash(s,h)", "1 when h is a salted hash of s, else 0",
     "testsaltedhash(\"pw\",saltedhash(\"pw\"))", "1"},
    {K::command, "base64", "base64(s)", "a string in Base64",
     "base64(\"hi\")", "\"aGk=\""},
    {K::command, "unbase64", "unbase64(s)", "the string a Base64 text holds",
     "unbase64(\"aGk=\")", "\"hi\""},
    {K::command, "type", "type(x)",
     "the type name of x: numeric, algebraic, string, array, matrix, map, node, mutant, class_definition, an "
     "instance's class, function or predefined function",
     "type([1])", "array"},
    {K::command, "print", "print(x)",
     "the full form of x: a number with the digits that read back as the same double, a container whole however long",
     "print(1/3)", "0.3333333333333333"},
    {K::command, "introspect", "introspect()",
     "the names of the environment, one a line: name, type and short value (\": (private)\" for a private one)",
     "x=2,text(introspect()).find(\"x: numeric = 2\")>0", "1"},
    {K::command, "delete", "delete(x,...)",
     "removes the named objects and user functions (a node with its edges); answers how many; an unknown name "
     "removes none",
     "x=1,delete(x)", "1"},
    {K::command, "restore", "restore()",
     "gives pi and e their default values again; nothing else changes; answers how many",
     "pi=3,restore(),pi", "3.14159265358979"},
    {K::command, "eval", "eval(f)",
     "a formula computed again with the values its names hold now; other values as they are",
     "f=x^2,x=3,eval(f)", "9"},
    {K::command, "why", "why()",
     "one sentence on the last statement that went wrong: which part, at which column, what to write instead",
     "sine(1),why()", "column 1 of sine(1): sine is not a function; did you mean sin?"},
    {K::string_method, "length", "s.length()", "the number of characters",
     "\"héllo\".length()", "5"},
    {K::string_method, "bytes", "s.bytes()", "the number of bytes",
     "\"héllo\".bytes()", "6"},
    {K::string_method, "substring", "s.substring(i,n)", "n characters from the i-th; without n to the end",
     "\"abcdef\".substring(2,3)", "\"bcd\""},
    {K::string_method, "find", "s.find(t)", "the position of the first t in s, 0 when there is none",
     "\"abcabc\".find(\"ca\")", "3"},
    {K::string_method, "replace", "s.replace(a,b)", "s with every a replaced by b",
     "\"a-b-c\".replace(\"-\",\"+\")", "\"a+b+c\""},
    {K::string_method, "upper", "s.upper()", "s with the letters a to z made capitals",
     "\"abc\".upper()", "\"ABC\""},
    {K::string_method, "lower", "s.lower()", "s with the letters A to Z made small",
     "\"ABC\".lower()", "\"abc\""},
    {K::string_method, "trim", "s.trim()", "s without white space at either end",
     "\"  ab  \".trim()", "\"ab\""},
    {K::string_method, "number", "s.number()", "the number that s holds, as number(s)",
     "\"2.5\".number()", "2.5"},
    {K::string_method, "split", "s.split(sep)", "the pieces of s between the seps, as an array",
     "\"a,b,c\".split(\",\")", "[\"a\",\"b\",\"c\"]"},
    {K::array_method, "size", "a.size()", "the number of elements",
     "[1,2,3].size()", "3"},
    {K::array_method, "append", "a.append(x,...)", "adds the arguments at the end; answers the new size",
     "a=[1],a.append(2,3),a", "[1,2,3]"},
    {K::array_method, "insert", "a.insert(i,x)", "x becomes element i; answers the new size",
     "a=[1,3],a.insert(2,2),a", "[1,2,3]"},
    {K::array_method, "delete", "a.delete(i,...)", "removes the elements at those places; answers the new size",
     "a=[1,2,3],a.delete(2),a", "[1,3]"},
    {K::array_method, "swap", "a.swap(i,j)", "exchanges two elements",
     "a=[1,2,3],a.swap(1,3),a", "[3,2,1]"},
    {K::array_method, "crop", "a.crop(i,j)", "keeps elements i to j; answers the new size",
     "a=[1,2,3,4],a.crop(2,3),a", "[2,3]"},
    {K::array_method, "enlarge", "a.enlarge(n)", "grows the array to n elements with zeros",
     "a=[1],a.enlarge(3),a", "[1,0,0]"},
    {K::array_method, "sort", "a.sort()", "sorts numbers, or strings by their bytes",
     "a=[3,1,2],a.sort(),a", "[1,2,3]"},
    {K::array_method, "reverse", "a.reverse()", "reverses the order",
     "a=[1,2,3],a.reverse(),a", "[3,2,1]"},
    {K::array_method, "find", "a.find(x)", "the place of the first element equal to x, 0 if none",
     "[5,6,7].find(6)", "2"},
    {K::array_method, "contains", "a.contains(x)", "1 when an element equals x, else 0",
     "[5,6,7].contains(8)", "0"},
    {K::array_method, "sum", "a.sum()", "the elements added with +",
     "[1,2,3].sum()", "6"},
    {K::array_method, "min", "a.min()", "the least element",
     "[4,2,8].min()", "2"},
    {K::array_method, "max", "a.max()", "the greatest element",
     "[4,2,8].max()", "8"},
    {K::array_method, "mean", "a.mean()", "the mean of the elements",
     "[1,2,3,6].mean()", "3"},
    {K::array_method, "join", "a.join(sep)", "the strings and numbers of a as one string, sep between them",
     "[\"a\",1,\"b\"].join(\"-\")", "\"a-1-b\""},
    {K::array_method, "matrix", "a.matrix()", "an array of equal-length rows (or of numbers: one row) as a matrix",
     "[[1,2],[3,4]].matrix()", "matrix:[1,2],[3,4];"},
    {K::map_method, "size", "m.size()", "the number of entries",
     "map:\"a\"=1,\"b\"=2;.size()", "2"},
    {K::map_method, "add", "m.add(k,v,...)", "sets each key to the value after it; answers the new size",
     "m=map:\"a\"=1;,m.add(\"b\",2),m", "map:\"a\"=1,\"b\"=2;"},
    {K::map_method, "get", "m.get(k)", "the value under k, as m[k]",
     "map:\"a\"=1;.get(\"a\")", "1"},
    {K::map_method, "exists", "m.exists(k)", "1 when the key is there, else 0",
     "map:\"a\"=1;.exists(\"b\")", "0"},
    {K::map_method, "delete", "m.delete(k)", "removes the key; answers the new size",
     "m=map:\"a\"=1,\"b\"=2;,m.delete(\"a\"),m", "map:\"b\"=2;"},
    {K::map_method, "keys", "m.keys()", "the keys as an array, in key order",
     "map:\"b\"=1,\"a\"=2;.keys()", "[\"a\",\"b\"]"},
    {K::map_method, "values", "m.values()", "the values as an array, in key order",
     "map:\"b\"=1,\"a\"=2;.values()", "[2,1]"},
    {K::map_method, "flush", "m.flush()", "removes every entry",
     "m=map:\"a\"=1;,m.flush(),m.size()", "0"},
    {K::matrix_method, "size", "m.size()", "the number of elements, rows times columns",
     "matrix:[1,2],[3,4];.size()", "4"},
    {K::matrix_method, "dims", "m.dims()", "[rows,columns]",
     "matrix:[1,2,3],[4,5,6];.dims()", "[2,3]"},
    {K::matrix_method, "rank", "m.rank()", "the number of singular values above max(rows,columns)*eps*the largest",
     "matrix:[1,2],[2,4];.rank()", "1"},
    {K::matrix_method, "mul", "m.mul(b)", "m*b: the matrix product, or every element times a number",
     "matrix:[1,2],[3,4];.mul(2)", "matrix:[2,4],[6,8];"},
    {K::matrix_method, "add", "m.add(b)", "m+b, element by element",
     "matrix:[1,2],[3,4];.add(matrix:[1,1],[1,1];)", "matrix:[2,3],[4,5];"},
    {K::matrix_method, "sub", "m.sub(b)", "m-b, element by element",
     "matrix:[1,2],[3,4];.sub(matrix:[1,1],[1,1];)", "matrix:[0,1],[2,3];"},
    {K::matrix_method, "dirmul", "m.dirmul(b)",
     "the element-by-element product with a matrix of the same size or a number",
     "matrix:[1,2],[3,4];.dirmul(matrix:[2,2],[2,2];)", "matrix:[2,4],[6,8];"},
    {K::matrix_method, "diradd", "m.diradd(b)",
     "the element-by-element sum with a matrix of the same size or a number",
     "matrix:[1,2],[3,4];.diradd(1)", "matrix:[2,3],[4,5];"},
    {K::matrix_method, "append", "m.append(row,...)",
     "adds rows (arrays or matrices of as many columns) at the bottom",
     "m=matrix:[1,2];,m.append([3,4]),m", "matrix:[1,2],[3,4];"},
    {K::matrix_method, "appendcol", "m.appendcol(col,...)",
     "adds columns (arrays or matrices of as many rows) at the right",
     "m=matrix:[1],[2];,m.appendcol([3,4]),m", "matrix:[1,3],[2,4];"},
    {K::matrix_method, "insert", "m.insert(i,row)", "the row becomes row i",
     "m=matrix:[1,2],[5,6];,m.insert(2,[3,4]),m", "matrix:[1,2],[3,4],[5,6];"},
    {K::matrix_method, "insertcol", "m.insertcol(j,col)", "the column becomes column j",
     "m=matrix:[1,3];,m.insertcol(2,[2]),m", "matrix:[1,2,3];"},
    {K::matrix_method, "enlarge", "m.enlarge(n)", "grows m to n by n, padding with zeros",
     "m=matrix:[1];,m.enlarge(2),m", "matrix:[1,0],[0,0];"},
    {K::matrix_method, "delete", "m.delete(i,...)", "removes those rows",
     "m=matrix:[1,2],[3,4];,m.delete(1),m", "matrix:[3,4];"},
    {K::matrix_method, "deletecol", "m.deletecol(j,...)", "removes those columns",
     "m=matrix:[1,2],[3,4];,m.deletecol(1),m", "matrix:[2],[4];"},
    {K::matrix_method, "swap", "m.swap(i,j)", "exchanges two rows",
     "m=matrix:[1,2],[3,4];,m.swap(1,2),m", "matrix:[3,4],[1,2];"},
    {K::matrix_method, "swapcol", "m.swapcol(i,j)", "exchanges two columns",
     "m=matrix:[1,2],[3,4];,m.swapcol(1,2),m", "matrix:[2,1],[4,3];"},
    {K::matrix_method, "transpose", "m.transpose()", "rows become columns",
     "matrix:[1,2],[3,4];.transpose()", "matrix:[1,3],[2,4];"},
    {K::matrix_method, "elem", "m.elem(i,j)", "element (i,j), as m[i][j]; m.elem(i,j,x) sets it",
     "matrix:[1,2],[3,4];.elem(2,1)", "3"},
    {K::matrix_method, "invert", "m.invert()", "the inverse; a singular matrix gives >invalid_expression<",
     "matrix:[2,0],[0,4];.invert()", "matrix:[0.5,0],[0,0.25];"},
    {K::matrix_method, "conj", "m.conj()", "every element conjugated",
     "matrix:[i,1];.conj()", "matrix:[-i,1];"},
    {K::matrix_method, "trace", "m.trace()", "the sum of the diagonal",
     "matrix:[1,2],[3,4];.trace()", "5"},
    {K::matrix_method, "vectorize", "m.vectorize()", "the elements column after column, as an array",
     "matrix:[1,2],[3,4];.vectorize()", "[1,3,2,4]"},
    {K::matrix_method, "matricize", "m.matricize()",
     "a row or column of n^2 elements as the n by n matrix of those columns",
     "matrix:[1,3,2,4];.matricize()", "matrix:[1,2],[3,4];"},
    {K::matrix_method, "det", "m.det()", "the determinant (exact for integer matrices)",
     "matrix:[1,2],[3,4];.det()", "-2"},
    {K::matrix_method, "eigvals", "m.eigvals()", "the eigenvalues as an array, ascending by real part",
     "matrix:[2,0],[0,3];.eigvals()", "[2,3]"},
    {K::matrix_method, "eigvecs", "m.eigvecs()", "unit eigenvectors as columns, in the order of eigvals(); an error for a Jordan block",
     "matrix:[2,0],[0,3];.eigvecs()", "matrix:[1,0],[0,1];"},
    {K::matrix_method, "array", "m.array()", "the rows as an array of arrays",
     "matrix:[1,2],[3,4];.array()", "[[1,2],[3,4]]"},
    {K::matrix_method, "writematrix", "m.writematrix()",
     "the matrix as a string, one line per row, commas between elements; m.writematrix(\"FILE\") writes it to FILE",
     "matrix:[1,2],[3,4];.writematrix()", "\"1,2\\n3,4\\n\""},
    {K::matrix_method, "solve", "m.solve(b)", "x with m*x=b (least squares when m is tall); b an array or a matrix",
     "matrix:[2,0],[0,4];.solve([2,4])", "[1,1]"},
    {K::matrix_method, "norm", "m.norm(p)", "the 2-norm; norm(1), norm(\"inf\") and norm(\"fro\") the others",
     "matrix:[3,0],[0,4];.norm()", "4"},
    {K::matrix_method, "cond", "m.cond()", "the condition number in the 2-norm",
     "matrix:[1,0],[0,2];.cond()", "2"},
    {K::matrix_method, "lu", "m.lu(k)", "k=1 L, k=2 U, k=3 P with P*m=L*U",
     "matrix:[1,2],[3,4];.lu(3)", "matrix:[0,1],[1,0];"},
    {K::matrix_method, "qr", "m.qr(k)", "k=1 Q, k=2 R with m=Q*R",
     "matrix:[1,0],[0,2];.qr(2)", "matrix:[-1,0],[0,-2];"},
    {K::matrix_method, "svd", "m.svd(k)", "the singular values; k=1 U, k=2 S, k=3 V with m=U*S*transpose(conj(V))",
     "matrix:[3,0],[0,4];.svd()", "[4,3]"},
    {K::matrix_method, "pinv", "m.pinv()", "the pseudo-inverse",
     "matrix:[2,0],[0,4];.pinv()", "matrix:[0.5,0],[0,0.25];"},
    {K::matrix_method, "kron", "m.kron(b)", "the Kronecker product",
     "matrix:[1,2];.kron(matrix:[1],[2];)", "matrix:[1,2],[2,4];"},
    {K::matrix_method, "expm", "m.expm()", "the matrix exponential",
     "matrix:[0,0],[0,0];.expm()", "matrix:[1,0],[0,1];"},
    {K::node_method, "value", "n.value()", "the value the node holds",
     "node(5,\"a\").value()", "5"},
    {K::node_method, "label", "n.label()", "the label of the node, a string",
     "node(5,\"a\").label()", "\"a\""},
    {K::node_method, "connect", "a.connect(b,w)",
     "the edge a->b with weight w (1 when left out); answers how many edges leave a",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,3),a.outedges()", "[[node(2,\"b\"),3]]"},
    {K::node_method, "disconnect", "a.disconnect(b,...)",
     "removes the edges between a and each b; without b all of a's",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b),a.disconnect(b),a.isempty()", "1"},
    {K::node_method, "outedges", "n.outedges()", "the edges from n as [node, weight] pairs",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,3),a.outedges().size()", "1"},
    {K::node_method, "inedges", "n.inedges()", "the edges into n as [node, weight] pairs",
     "a=node(1,\"a\"),b=node(2,\"b\"),a.connect(b,3),b.inedges().size()", "1"},
    {K::node_method, "isleaf", "n.isleaf()", "1 when no edge leaves n, else 0",
     "node(1,\"a\").isleaf()", "1"},
    {K::node_method, "isempty", "n.isempty()", "1 when n has no edge at all, else 0",
     "node(1,\"a\").isempty()", "1"},
    {K::node_method, "islocked", "n.islocked()", "1 when n is locked, else 0",
     "a=node(1,\"a\"),a.lock(),a.islocked()", "1"},
    {K::node_method, "lock", "n.lock()", "locks n: its edges, value and label refuse changes",
     "a=node(1,\"a\"),a.lock(),a.islocked()", "1"},
    {K::node_method, "unlock", "n.unlock()", "unlocks n",
     "a=node(1,\"a\"),a.lock(),a.unlock(),a.islocked()", "0"},
    {K::node_method, "setvalue", "n.setvalue(x)", "sets the value (a number, formula or string)",
     "a=node(1,\"a\"),a.setvalue(7),a.value()", "7"},
    {K::node_method, "setlabel", "n.setlabel(s)", "sets the label",
     "a=node(1,\"a\"),a.setlabel(\"b\"),a.label()", "\"b\""},
    {K::object_method, "toclass", "c.toclass(x)",
     "an instance of class c whose members take x's (an instance, mutant or map)",
     "c=class_definition:x=0;,m=mutate(),m.x=4,c.toclass(m).x", "4"},
    {K::object_method, "members", "m.members()", "the names of a mutant's members, as an array",
     "m=mutate(),m.k=1,m.members()", "[\"k\"]"},
    {K::object_method, "has", "m.has(\"name\")", "1 when the mutant has that member, else 0",
     "m=mutate(),m.k=1,m.has(\"k\")", "1"},
    {K::object_method, "remove", "m.remove(\"name\")", "removes a member of the mutant; answers how many are left",
     "m=mutate(),m.k=1,m.j=2,m.remove(\"k\")", "1"},
    {K::algebraic_method, "eval", "f.eval()", "the formula f computed with the values its names hold now, as eval(f)",
     "f=x+1,x=2,f.eval()", "3"},
    {K::algebraic_method, "shift", "x.shift(n)",
     "x*2^n for integers x and n (n<0: floor(x/2^-n)); x and the result within 2^53; a formula stays a formula",
     "x=5,x.shift(2)", "20"},
    {K::algebraic_method, "and", "x.and(y)",
     "bitwise and of integers within 2^53 (two's complement); a formula stays a formula",
     "x=12,x.and(10)", "8"},
    {K::algebraic_method, "or", "x.or(y)", "bitwise or of integers within 2^53; a formula stays a formula",
     "x=12,x.or(3)", "15"},
    {K::algebraic_method, "xor", "x.xor(y)",
     "bitwise exclusive or of integers within 2^53; a formula stays a formula",
     "x=12,x.xor(10)", "6"},
    {K::algebraic_method, "not", "x.not()",
     "the bitwise complement -x-1 of an integer within 2^53; a formula stays a formula",
     "x=5,x.not()", "-6"},
    {K::any_method, "introspect", "x.introspect()",
     "what x holds: its type, its members (private ones marked) or short value, its methods with their signatures",
     "a=[1,2],text(a.introspect()).find(\"size(0)\")>0", "1"},
};

constexpr std::size_t line_width = 72;

// Names after a heading, wrapped into indented lines of at most line_width.
void add_names(std::string& out, std::string_view heading, const std::vector<std::string_view>& names) {
    out += heading;
    out += ":\n ";
    std::size_t column = 1;
    for (std::string_view n : names) {
        if (column + 1 + n.size() > line_width) out += "\n ", column = 1;
        out += ' ';
        out += n;
        column += 1 + n.size();
    }
    out += '\n';
}

std::vector<std::string_view> names_of(HelpKind kind) {
    std::vector<std::string_view> names;
    for (const HelpText& t : texts)
        if (t.kind == kind) names.push_back(t.name);
    if (kind == K::command) std::sort(names.begin(), names.end());
    return names;
}

std::string_view kind_word(HelpKind kind) {
    switch (kind) {
    case K::word: return "statement word";
    case K::command: return "command";
    case K::string_method: return "string method";
    case K::array_method: return "array method";
    case K::map_method: return "map method";
    case K::matrix_method: return "matrix method";
    case K::node_method: return "node method";
    case K::object_method: return "class or mutant method";
    case K::algebraic_method: return "number and formula method";
    case K::any_method: return "method of every object";
    }
    return {};
}

bool is_method(HelpKind kind) { return kind != K::word && kind != K::command; }

void add_function(std::string& out, const lang::HelpEntry& e) {
    out += e.form;
    out += ": ";
    out += e.meaning;
    out += "; example: ";
    out += e.example;
    out += " gives ";
    out += e.answer;
}

// Every entry of a name, one line each; methods only when asked as "x.name".
std::string entries(std::string_view name, bool methods_only) {
    std::string out;
    if (!methods_only)
        if (const lang::HelpEntry* e = lang::find_help(name)) add_function(out, *e);
    for (const HelpText& t : texts) {
        if (t.name != name || (methods_only && !is_method(t.kind))) continue;
        if (!out.empty()) out += '\n';
        out += t.form;
        out += " (";
        out += kind_word(t.kind);
        out += "): ";
        out += t.meaning;
        if (t.example.empty()) continue;
        out += "; example: ";
        out += t.example;
        out += " gives ";
        out += t.answer;
    }
    return out;
}

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            std::size_t up = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = up;
        }
    }
    return row[b.size()];
}

// The name a help argument asks about: a plain name, "x.name" for a method
// (read from the text, or from the string it evaluates to). Empty when the
// argument names nothing.
std::string name_asked(std::string_view arg, Arbenv* env, bool& method) {
    std::string text(arg);
    // A string literal arrives as the placeholder it was lifted to.
    if (is_placeholder(arg) || (!lang::scan::is_plain_name(arg) && arg.find('.') == std::string_view::npos)) {
        lang::Value v = lang::evaluate(arg, env);
        std::string_view s;
        if (!string_arg(v, s)) return {};
        text = s;
    }
    std::size_t dot = text.rfind('.');
    method = dot != std::string::npos;
    std::string name = method ? text.substr(dot + 1) : text;
    if (method && !lang::scan::is_plain_name(std::string_view(text).substr(0, dot))) return {};
    return lang::scan::is_plain_name(name) ? name : std::string();
}

lang::Value help(const lang::Call& call, std::span<lang::Value>) {
    if (call.args.size() > 1) return lang::Value::failure();
    if (call.args.empty() || (call.args.size() == 1 && call.args[0].empty()))
        return lang::Value::formula_of(Text(help_topics()));
    bool method = false;
    std::string name = name_asked(call.args[0], call.env, method);
    if (name.empty()) return lang::Value::failure();
    std::string out = entries(name, method);
    if (out.empty()) out = method ? "no method named " + name : help_about(name);
    return lang::Value::formula_of(Text(out));
}

}  // namespace

std::span<const HelpText> help_texts() noexcept { return texts; }

std::string help_topics() {
    std::string out;
    std::vector<std::string_view> functions;
    for (const lang::HelpEntry& e : lang::help_entries())
        functions.push_back(e.signature.substr(0, e.signature.find('(')));
    add_names(out, "Predefined functions", functions);
    add_names(out, "Statement words", names_of(K::word));
    add_names(out, "Commands", names_of(K::command));
    add_names(out, "String methods (s.name())", names_of(K::string_method));
    add_names(out, "Array methods (a.name())", names_of(K::array_method));
    add_names(out, "Map methods (m.name())", names_of(K::map_method));
    add_names(out, "Matrix methods (m.name())", names_of(K::matrix_method));
    add_names(out, "Node methods (n.name())", names_of(K::node_method));
    add_names(out, "Class and mutant methods (c.name())", names_of(K::object_method));
    add_names(out, "Number and formula methods (x.name())", names_of(K::algebraic_method));
    add_names(out, "Methods of every object (x.name())", names_of(K::any_method));
    out += "help(name) or help(\"name\") for one of them; help(\"s.name\") for methods only.";
    return out;
}

std::string help_about(std::string_view name) {
    std::string out = entries(name, false);
    if (!out.empty()) return out;
    out = "no help for ";
    out += name;
    std::vector<std::string_view> near = closest_help_names(name);
    for (std::size_t k = 0; k < near.size(); ++k) {
        out += k == 0 ? "; did you mean " : k + 1 == near.size() ? " or " : ", ";
        out += near[k];
    }
    if (!near.empty()) out += '?';
    return out;
}

std::vector<std::string_view> closest_help_names(std::string_view name) {
    std::vector<std::pair<std::size_t, std::string_view>> scored;
    auto score = [&](std::string_view n) {
        std::size_t d = edit_distance(name, n);
        // A name nearer to a full rewrite than to the one asked is no hint.
        if (d <= std::max<std::size_t>(1, std::min(name.size(), n.size()) / 2)) scored.emplace_back(d, n);
    };
    for (const lang::HelpEntry& e : lang::help_entries()) score(e.signature.substr(0, e.signature.find('(')));
    for (const HelpText& t : texts) score(t.name);
    std::sort(scored.begin(), scored.end());
    scored.erase(std::unique(scored.begin(), scored.end()), scored.end());
    std::vector<std::string_view> out;
    for (const auto& [d, n] : scored) {
        if (out.size() == 3) break;
        if (std::find(out.begin(), out.end(), n) == out.end()) out.push_back(n);
    }
    return out;
}

namespace {

// One line of the reference: `form`, the meaning, the example and answer.
void reference_line(std::string& out, std::string_view form, std::string_view meaning, std::string_view example,
                    std::string_view answer) {
    out += "- `";
    out += form;
    out += "`: ";
    out += meaning;
    if (!example.empty()) {
        out += ". Example: `";
        out += example;
        out += "` gives `";
        out += answer;
        out += '`';
    }
    out += '\n';
}

}  // namespace

std::string help_reference() {
    std::string out = "### Predefined functions\n\n";
    for (const lang::HelpEntry& e : lang::help_entries()) reference_line(out, e.form, e.meaning, e.example, e.answer);
    constexpr std::pair<HelpKind, std::string_view> sections[] = {
        {K::word, "Statement words"},
        {K::command, "Commands"},
        {K::string_method, "String methods"},
        {K::array_method, "Array methods"},
        {K::map_method, "Map methods"},
        {K::matrix_method, "Matrix methods"},
        {K::node_method, "Node methods"},
        {K::object_method, "Class and mutant methods"},
        {K::algebraic_method, "Number and formula methods"},
        {K::any_method, "Methods of every object"},
    };
    for (const auto& [kind, heading] : sections) {
        out += "\n### ";
        out += heading;
        out += "\n\n";
        for (const HelpText& t : texts)
            if (t.kind == kind) reference_line(out, t.form, t.meaning, t.example, t.answer);
    }
    return out;
}

void install_help() { lang::register_builtin("help()", help, false); }

}  // namespace ostr::script
