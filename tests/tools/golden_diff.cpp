// Compares the files a translator run produced with the expected ones, byte for byte.
// The clock-dependent "#define MODELRUNID" line is masked on both sides. Reports the first
// difference as file:line:col with both lines, carriage returns made visible.
// Usage: golden_diff <expected dir> <actual dir> [--update]
// With --update the expected folder is rewritten from the actual one. An expected file
// "snapshot.txt" names, one a line, the files whose expected text was taken from an earlier run
// rather than written by hand: regression guards, reported as such when they differ. An
// expected file "F.fragments" holds pieces of F written by hand, separated by lines "----":
// each must stand in the produced F, in this order.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

static std::string ReadAll(fs::path const& p) {
    std::ifstream in(p, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

static char const* const SNAPSHOT_LIST = "snapshot.txt";

static std::string const FRAGMENTS = ".fragments";

static bool IsFragmentFile(std::string const& name) {
    return name.size() > FRAGMENTS.size() &&
           name.compare(name.size() - FRAGMENTS.size(), FRAGMENTS.size(), FRAGMENTS) == 0;
}

static std::set<std::string> FileNames(fs::path const& dir) {
    std::set<std::string> names;
    if (!fs::is_directory(dir)) return names;
    for (auto const& e : fs::directory_iterator(dir))
        if (e.is_regular_file()) names.insert(e.path().filename().string());
    names.erase(SNAPSHOT_LIST);
    for (auto it = names.begin(); it != names.end();)
        it = IsFragmentFile(*it) ? names.erase(it) : std::next(it);
    return names;
}

static std::set<std::string> SnapshotNames(fs::path const& dir) {
    std::set<std::string> names;
    std::ifstream in(dir / SNAPSHOT_LIST);
    for (std::string line; std::getline(in, line);)
        if (!line.empty()) names.insert(line);
    return names;
}

static std::vector<std::string> Lines(std::string const& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t nl = text.find('\n', start);
        size_t end = nl == std::string::npos ? text.size() : nl + 1;
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    return lines;
}

static std::string Masked(std::string line) {
    static std::string const key = "#define MODELRUNID";
    if (line.compare(0, key.size(), key) == 0) {
        std::string tail = line.size() >= 2 && line[line.size() - 2] == '\r' ? "\r\n" : "\n";
        if (line.back() != '\n') tail.clear();
        return key + " <masked>" + tail;
    }
    return line;
}

static std::string Visible(std::string const& line) {
    std::string out;
    for (char c : line) {
        if (c == '\r')
            out += "\\r";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

// Prints the first difference of two texts; returns whether they are equal.
static bool SameText(std::string const& name, std::string const& want, std::string const& got) {
    std::vector<std::string> a = Lines(want), b = Lines(got);
    for (size_t i = 0; i < a.size() || i < b.size(); i++) {
        std::string la = i < a.size() ? Masked(a[i]) : "<end of file>";
        std::string lb = i < b.size() ? Masked(b[i]) : "<end of file>";
        if (la == lb) continue;
        size_t col = 0;
        while (col < la.size() && col < lb.size() && la[col] == lb[col])
            col++;
        printf("%s:%zu:%zu: output differs\n  expected: %s\n  actual:   %s\n", name.c_str(), i + 1,
               col + 1, Visible(la).c_str(), Visible(lb).c_str());
        return false;
    }
    return true;
}

// The hand-written pieces of a fragments file, each with its line ends.
static std::vector<std::string> Fragments(std::string const& text) {
    std::vector<std::string> pieces(1);
    for (std::string const& line : Lines(text)) {
        if (line == "----\n" || line == "----")
            pieces.emplace_back();
        else
            pieces.back() += line;
    }
    return pieces;
}

// Checks the fragments files of 'expected' against the produced files; returns whether all hold.
static bool FragmentsHold(fs::path const& expected, fs::path const& actual) {
    bool ok = true;
    for (auto const& e : fs::directory_iterator(expected)) {
        std::string name = e.path().filename().string();
        if (!IsFragmentFile(name)) continue;
        std::string target = name.substr(0, name.size() - FRAGMENTS.size());
        std::string text = ReadAll(actual / target);
        size_t at = 0;
        int i = 0;
        for (std::string const& piece : Fragments(ReadAll(e.path()))) {
            i++;
            size_t found = text.find(piece, at);
            if (found != std::string::npos) {
                at = found + piece.size();
                continue;
            }
            printf("%s: fragment %d not found in order:\n%s", name.c_str(), i,
                   Visible(piece).c_str());
            ok = false;
            break;
        }
    }
    return ok;
}

static int Update(fs::path const& expected, fs::path const& actual) {
    fs::create_directories(expected);
    for (std::string const& n : FileNames(expected))
        if (!fs::exists(actual / n)) fs::remove(expected / n);
    for (std::string const& n : FileNames(actual))
        fs::copy_file(actual / n, expected / n, fs::copy_options::overwrite_existing);
    printf("updated %s\n", expected.string().c_str());
    return 0;
}

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: golden_diff <expected dir> <actual dir> [--update]\n");
        return 2;
    }
    fs::path expected = argv[1], actual = argv[2];
    if (argc > 3 && std::string(argv[3]) == "--update") return Update(expected, actual);
    std::set<std::string> want = FileNames(expected), got = FileNames(actual);
    bool ok = true;
    for (std::string const& n : want)
        if (!got.count(n)) ok = (printf("%s: expected file was not produced\n", n.c_str()), false);
    for (std::string const& n : got)
        if (!want.count(n)) ok = (printf("%s: produced but not expected\n", n.c_str()), false);
    if (!FragmentsHold(expected, actual)) ok = false;
    std::set<std::string> snapshots = SnapshotNames(expected);
    for (std::string const& n : want) {
        if (!got.count(n) || SameText(n, ReadAll(expected / n), ReadAll(actual / n))) continue;
        ok = false;
        if (snapshots.count(n))
            printf("%s is a regression snapshot: review the change, then rewrite it with "
                   "-DUPDATE_GOLDEN=ON\n",
                   n.c_str());
    }
    return ok ? 0 : 1;
}
