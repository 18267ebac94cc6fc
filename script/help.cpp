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
    {K::word, "if", "if:condition,statements;", "runs the statements when the condition is 1 (see elseif, else)"},
    {K::word, "elseif", "if:c1,s1,elseif,c2,s2;", "in an if block: the next condition, tried when none before was 1"},
    {K::word, "else", "if:c,s1,else,s2;", "in an if block: the statements run when no condition was 1"},
    {K::word, "for", "for:initialiser,condition,step,statements;",
     "runs the initialiser, then the statements and the step while the condition is 1"},
    {K::word, "while", "while:condition,statements;", "runs the statements while the condition is 1"},
    {K::word, "break", "break", "leaves the innermost for or while loop"},
    {K::word, "private", "private:statements;", "runs its statements in order"},
    {K::word, "class_definition", "c=class_definition:x=0,private:s=0;,static:n=0;,f(a)=...;",
     "defines the class c: members with defaults, methods that see this, private and static members"},
    {K::word, "static", "class_definition:...,static:n=0;;", "in a class: members shared by every instance"},
    {K::word, "prototype", "class_definition:prototype=base,...;",
     "in a class: starts from the members and methods of the class base"},
    {K::word, "this", "this.x", "inside a method: the instance it was called on"},
    {K::command, "mutate", "mutate(x)", "a mutant: an object whose members are added by m.name=... and removed"},
    {K::command, "node", "node(value,\"label\")", "a new node of a graph; a.connect(b,w) adds the edge a->b"},
    {K::command, "bfs", "bfs(n)", "the nodes reached from n along edges, breadth first"},
    {K::command, "dfs", "dfs(n)", "the nodes reached from n along edges, depth first"},
    {K::command, "shortestpath", "shortestpath(a,b)", "the nodes of a lightest path from a to b (Dijkstra)"},
    {K::command, "distance", "distance(a,b)", "the total weight of a lightest path from a to b"},
    {K::command, "components", "components(nodes)", "the connected components around the nodes, as arrays"},
    {K::command, "toposort", "toposort(nodes)", "the nodes reached, each before those its edges lead to"},
    {K::command, "help", "help(name)", "the help of a name; help() lists the topics"},
    {K::command, "sigdigits", "sigdigits(n)", "shows numbers with n significant digits, n from 1 to 15"},
    {K::command, "bigdigits", "bigdigits=n",
     "the digits big numbers are computed and shown with, 1 to 10000000 (30 when unset)"},
    {K::command, "zeros", "zeros(r,c)", "the r by c matrix of zeros"},
    {K::command, "identity", "identity(n)", "the n by n identity matrix"},
    {K::command, "export", "export(\"FILE\")", "writes the session's names to FILE; answers how many"},
    {K::command, "import", "import(\"FILE\")", "merges the names of FILE into the session; answers how many"},
    {K::command, "history", "history(n)",
     "history() lists the lines of the session with their answers; history(n) runs line n again (-1 the last)"},
    {K::command, "write", "write(\"FILE\",x)", "writes the value x (any type) to FILE; answers the bytes written"},
    {K::command, "read", "read(\"FILE\")", "the value that write put in FILE"},
    {K::command, "writematrix", "writematrix(\"FILE\",m)",
     "writes the numbers of m (or of an array) as comma-separated rows in full precision"},
    {K::command, "readmatrix", "readmatrix(\"FILE\")",
     "a matrix from rows of numbers separated by commas or spaces (a header line is skipped)"},
    {K::command, "readvector", "readvector(\"FILE\")", "the numbers of a file of numbers, row after row, as an array"},
    {K::command, "readstring", "readstring(\"FILE\")", "the whole text of FILE as a string"},
    {K::command, "writestring", "writestring(\"FILE\",s)",
     "writes the text of the string s to FILE; answers the bytes written"},
    {K::command, "listf", "listf()",
     "the files of the working directory as [name, bytes] pairs; directories end in /"},
    {K::command, "plot", "plot(f,x,a,b)", "draws f (or [f,g,...]) for x from a to b into a PNG file; answers its name"},
    {K::command, "plotparam", "plotparam(fx,fy,t,a,b)", "draws the curve (fx,fy) for t from a to b into a PNG file"},
    {K::command, "plotdata", "plotdata(x,y)", "draws the array y (or arrays) against x (or 1,2,...) into a PNG file"},
    {K::command, "plotcomplex", "plotcomplex(f,z,c1,c2)", "domain colouring of f over the corners c1, c2 into a PNG file"},
    {K::command, "plotfft", "plotfft(a)", "draws the magnitude spectrum of the array a into a PNG file"},
    {K::command, "text", "text(x)", "what the console shows for x, as a string"},
    {K::command, "number", "number(s)", "the number a string holds (decimal, 0x, 0b)"},
    {K::command, "sha256", "sha256(s)", "the SHA-256 digest of a string, in hexadecimal"},
    {K::command, "sha512", "sha512(s)", "the SHA-512 digest of a string, in hexadecimal"},
    {K::command, "saltedhash", "saltedhash(s)", "a salted hash of a string, for storing a password"},
    {K::command, "testsaltedhash", "testsaltedhash(s,h)", "1 when h is a salted hash of s, else 0"},
    {K::command, "base64", "base64(s)", "a string in Base64"},
    {K::command, "unbase64", "unbase64(s)", "the string a Base64 text holds"},
    {K::string_method, "length", "s.length()", "the number of characters"},
    {K::string_method, "bytes", "s.bytes()", "the number of bytes"},
    {K::string_method, "substring", "s.substring(i,n)", "n characters from the i-th; without n to the end"},
    {K::string_method, "find", "s.find(t)", "the position of the first t in s, 0 when there is none"},
    {K::string_method, "replace", "s.replace(a,b)", "s with every a replaced by b"},
    {K::string_method, "upper", "s.upper()", "s with the letters a to z made capitals"},
    {K::string_method, "lower", "s.lower()", "s with the letters A to Z made small"},
    {K::string_method, "trim", "s.trim()", "s without white space at either end"},
    {K::string_method, "number", "s.number()", "the number that s holds, as number(s)"},
    {K::string_method, "split", "s.split(sep)", "the pieces of s between the seps, as an array"},
    {K::array_method, "size", "a.size()", "the number of elements"},
    {K::array_method, "append", "a.append(x,...)", "adds the arguments at the end; answers the new size"},
    {K::array_method, "insert", "a.insert(i,x)", "x becomes element i; answers the new size"},
    {K::array_method, "delete", "a.delete(i,...)", "removes the elements at those places; answers the new size"},
    {K::array_method, "swap", "a.swap(i,j)", "exchanges two elements"},
    {K::array_method, "crop", "a.crop(i,j)", "keeps elements i to j; answers the new size"},
    {K::array_method, "enlarge", "a.enlarge(n)", "grows the array to n elements with zeros"},
    {K::array_method, "sort", "a.sort()", "sorts numbers, or strings by their bytes"},
    {K::array_method, "reverse", "a.reverse()", "reverses the order"},
    {K::array_method, "find", "a.find(x)", "the place of the first element equal to x, 0 if none"},
    {K::array_method, "contains", "a.contains(x)", "1 when an element equals x, else 0"},
    {K::array_method, "sum", "a.sum()", "the elements added with +"},
    {K::array_method, "min", "a.min()", "the least element"},
    {K::array_method, "max", "a.max()", "the greatest element"},
    {K::array_method, "mean", "a.mean()", "the mean of the elements"},
    {K::array_method, "join", "a.join(sep)", "the strings and numbers of a as one string, sep between them"},
    {K::array_method, "matrix", "a.matrix()", "an array of equal-length rows (or of numbers: one row) as a matrix"},
    {K::map_method, "size", "m.size()", "the number of entries"},
    {K::map_method, "add", "m.add(k,v,...)", "sets each key to the value after it; answers the new size"},
    {K::map_method, "get", "m.get(k)", "the value under k, as m[k]"},
    {K::map_method, "exists", "m.exists(k)", "1 when the key is there, else 0"},
    {K::map_method, "delete", "m.delete(k)", "removes the key; answers the new size"},
    {K::map_method, "keys", "m.keys()", "the keys as an array, in key order"},
    {K::map_method, "values", "m.values()", "the values as an array, in key order"},
    {K::map_method, "flush", "m.flush()", "removes every entry"},
    {K::matrix_method, "size", "m.size()", "the number of elements, rows times columns"},
    {K::matrix_method, "dims", "m.dims()", "[rows,columns]"},
    {K::matrix_method, "rank", "m.rank()", "the number of singular values above max(rows,columns)*eps*the largest"},
    {K::matrix_method, "mul", "m.mul(b)", "m*b: the matrix product, or every element times a number"},
    {K::matrix_method, "add", "m.add(b)", "m+b, element by element"},
    {K::matrix_method, "sub", "m.sub(b)", "m-b, element by element"},
    {K::matrix_method, "dirmul", "m.dirmul(b)", "the element-by-element product with a matrix of the same size or a number"},
    {K::matrix_method, "diradd", "m.diradd(b)", "the element-by-element sum with a matrix of the same size or a number"},
    {K::matrix_method, "append", "m.append(row,...)", "adds rows (arrays or matrices of as many columns) at the bottom"},
    {K::matrix_method, "appendcol", "m.appendcol(col,...)", "adds columns (arrays or matrices of as many rows) at the right"},
    {K::matrix_method, "insert", "m.insert(i,row)", "the row becomes row i"},
    {K::matrix_method, "insertcol", "m.insertcol(j,col)", "the column becomes column j"},
    {K::matrix_method, "enlarge", "m.enlarge(n)", "grows m to n by n, padding with zeros"},
    {K::matrix_method, "delete", "m.delete(i,...)", "removes those rows"},
    {K::matrix_method, "deletecol", "m.deletecol(j,...)", "removes those columns"},
    {K::matrix_method, "swap", "m.swap(i,j)", "exchanges two rows"},
    {K::matrix_method, "swapcol", "m.swapcol(i,j)", "exchanges two columns"},
    {K::matrix_method, "transpose", "m.transpose()", "rows become columns"},
    {K::matrix_method, "elem", "m.elem(i,j)", "element (i,j), as m[i][j]; m.elem(i,j,x) sets it"},
    {K::matrix_method, "invert", "m.invert()", "the inverse; a singular matrix gives >invalid_expression<"},
    {K::matrix_method, "conj", "m.conj()", "every element conjugated"},
    {K::matrix_method, "trace", "m.trace()", "the sum of the diagonal"},
    {K::matrix_method, "vectorize", "m.vectorize()", "the elements column after column, as an array"},
    {K::matrix_method, "matricize", "m.matricize()", "a row or column of n^2 elements as the n by n matrix of those columns"},
    {K::matrix_method, "det", "m.det()", "the determinant (exact for integer matrices)"},
    {K::matrix_method, "eigvals", "m.eigvals()", "the eigenvalues as an array, ascending by real part"},
    {K::matrix_method, "eigvecs", "m.eigvecs()", "unit eigenvectors as columns, in the order of eigvals()"},
    {K::matrix_method, "array", "m.array()", "the rows as an array of arrays"},
    {K::matrix_method, "writematrix", "m.writematrix()",
     "the matrix as a string, one line per row, commas between elements; m.writematrix(\"FILE\") writes it to FILE"},
    {K::matrix_method, "solve", "m.solve(b)", "x with m*x=b (least squares when m is tall); b an array or a matrix"},
    {K::matrix_method, "norm", "m.norm(p)", "the 2-norm; norm(1), norm(\"inf\") and norm(\"fro\") the others"},
    {K::matrix_method, "cond", "m.cond()", "the condition number in the 2-norm"},
    {K::matrix_method, "lu", "m.lu(k)", "k=1 L, k=2 U, k=3 P with P*m=L*U"},
    {K::matrix_method, "qr", "m.qr(k)", "k=1 Q, k=2 R with m=Q*R"},
    {K::matrix_method, "svd", "m.svd(k)", "the singular values; k=1 U, k=2 S, k=3 V with m=U*S*transpose(V)"},
    {K::matrix_method, "pinv", "m.pinv()", "the pseudo-inverse"},
    {K::matrix_method, "kron", "m.kron(b)", "the Kronecker product"},
    {K::matrix_method, "expm", "m.expm()", "the matrix exponential"},
    {K::node_method, "value", "n.value()", "the value the node holds"},
    {K::node_method, "label", "n.label()", "the label of the node, a string"},
    {K::node_method, "connect", "a.connect(b,w)", "the edge a->b with weight w (1 when left out); answers a's out-edges"},
    {K::node_method, "disconnect", "a.disconnect(b,...)", "removes the edges between a and each b; without b all of a's"},
    {K::node_method, "outedges", "n.outedges()", "the edges from n as [node, weight] pairs"},
    {K::node_method, "inedges", "n.inedges()", "the edges into n as [node, weight] pairs"},
    {K::node_method, "isleaf", "n.isleaf()", "1 when no edge leaves n, else 0"},
    {K::node_method, "isempty", "n.isempty()", "1 when n has no edge at all, else 0"},
    {K::node_method, "islocked", "n.islocked()", "1 when n is locked, else 0"},
    {K::node_method, "lock", "n.lock()", "locks n: its edges, value and label refuse changes"},
    {K::node_method, "unlock", "n.unlock()", "unlocks n"},
    {K::node_method, "setvalue", "n.setvalue(x)", "sets the value (a number, formula or string)"},
    {K::node_method, "setlabel", "n.setlabel(s)", "sets the label"},
    {K::object_method, "toclass", "c.toclass(x)", "an instance of class c whose members take x's (an instance, mutant or map)"},
    {K::object_method, "members", "m.members()", "the names of a mutant's members, as an array"},
    {K::object_method, "has", "m.has(\"name\")", "1 when the mutant has that member, else 0"},
    {K::object_method, "remove", "m.remove(\"name\")", "removes a member of the mutant; answers how many are left"},
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

void install_help() { lang::register_builtin("help()", help, false); }

}  // namespace ostr::script
