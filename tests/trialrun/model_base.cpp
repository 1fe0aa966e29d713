// The model base of the test run-time library with its tables, the transit correction, the list
// of settable names, and the file samplers, which read a CSV file with a header row.
#include "DataReader.h"
#include "PKPDModel.h"
#include "RTL.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

PKPDModel::~PKPDModel() {}

void PKPDModel::Init() {}

void PKPDModel::GetRate(int& /*zzn*/, double* /*zzr*/) {}

void PKPDModel::EvalGroup() {}

void PKPDModel::EvalAssign() {}

void PKPDModel::EvalSParms() {}

void PKPDModel::InitSubject() {}

void PKPDModel::StartSubject() {}

void PKPDModel::StopSubject() {}

void PKPDModel::CF2Advance(double /*dt*/) {}

void PKPDModel::CF2GetState(double* /*y*/) {}

void PKPDModel::CF2SetState(double* /*y*/) {}

void PKPDModel::SetTimeOfStateCF(double /*_t*/) {}

void PKPDModel::SetTimeOfGetValCF(double /*_t*/) {}

// A delay table holds nothing in this library.
void DelayTable::init() {}

void PeakTable::init() {
    bAny_ = false;
    peak_ = tPeak_ = 0;
}

// The running maximum of 'value' over the calls where 'cond' is not 0.
double PeakTable::peakFunc(double t, double value, double cond, double& tPeak) {
    if (cond != 0 && (!bAny_ || value > peak_)) {
        bAny_ = true;
        peak_ = value;
        tPeak_ = t;
    }
    tPeak = tPeak_;
    return peak_;
}

// 1 at a whole number of stages n; between two whole numbers I and I + 1 the factorials of the
// log-interpolated rate, Gamma(I + 1)^(1 - F) Gamma(I + 2)^F, over Gamma(n + 1).
double _TransitCorrectionFactor(double n) {
    double i = std::floor(n), f = n - i;
    return std::exp((1 - f) * std::lgamma(i + 1) + f * std::lgamma(i + 2) - std::lgamma(n + 1));
}

void CStringArray::clear() {
    names_.clear();
}

void CStringArray::push_back(LPCTSTR s) {
    names_.emplace_back(s);
}

namespace {

struct Table {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
    int mode = 0;
    long row = -1;
};

// The tables of the samplers, by object; the class keeps no members of its own.
std::map<FileSampler const*, Table> tables;

std::vector<std::string> Cells(std::string const& line) {
    std::vector<std::string> cells;
    std::stringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) {
        while (!cell.empty() && (cell.back() == '\r' || cell.back() == ' '))
            cell.pop_back();
        while (!cell.empty() && cell[0] == ' ')
            cell.erase(0, 1);
        cells.push_back(cell);
    }
    return cells;
}

[[noreturn]] void Fail(char const* what, char const* name) {
    fprintf(stderr, "FileSampler: %s %s\n", what, name);
    exit(5);
}

// Rows in order, starting again after the last, or a row at random.
void NextRow(Table& t) {
    if (t.rows.empty()) Fail("no rows in", "file");
    long n = long(t.rows.size());
    t.row = t.mode == 1 ? std::min(n - 1, long(unif() * double(n))) : (t.row + 1) % n;
}

std::string const& Cell(FileSampler const* s, char const* column) {
    Table& t = tables[s];
    if (t.row < 0) NextRow(t);
    for (size_t c = 0; c < t.columns.size(); c++)
        if (t.columns[c] == column && c < t.rows[size_t(t.row)].size())
            return t.rows[size_t(t.row)][c];
    Fail("no column", column);
}

} // namespace

void FileSampler::InitGlobal(char const* file, int mode) {
    std::ifstream in(file);
    if (!in) Fail("cannot read", file);
    Table t;
    t.mode = mode;
    std::string line;
    std::getline(in, line);
    t.columns = Cells(line);
    while (std::getline(in, line))
        if (line.find_first_not_of(" \r") != std::string::npos) t.rows.push_back(Cells(line));
    tables[this] = t;
}

// Each replicate and each subject moves on to the next row, or draws one.
void FileSampler::InitReplicate() {
    NextRow(tables[this]);
}

void FileSampler::InitSubject() {
    NextRow(tables[this]);
}

void FileSampler::GetDouble(char const* column, double& value) {
    value = strtod(Cell(this, column).c_str(), nullptr);
}

void FileSampler::GetDouble(char const* column, TCHAR* cell) {
    strcpy(cell, Cell(this, column).c_str());
}
