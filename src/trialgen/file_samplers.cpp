// File samplers: values of a trial model drawn from the rows of a file instead of a
// distribution. One FileSampler object per record of `samplings`, set up at each level of
// draws of its model, and the reads of single values and of random-effect matrices.
#include "analysis/analysis.h"
#include "parser/parser.h"
#include "trialgen/trialgen.h"

// The file name as a C string literal's contents: backslashes and quotes escaped.
static void GenEscaped(FILE* fp, std::string const& text) {
    for (char c : text) {
        if (c == '\\' || c == '"') fputc('\\', fp);
        fputc(c, fp);
    }
}

// #ifdef IN_COHORT
// FileSampler _sampler0;
// #else
// extern FileSampler _sampler0;
// #endif
// Defined in the one file that defines IN_COHORT, as the other globals of the header are.
void DefineSamplers(FILE* fp) {
    if (samplings.empty()) return;
    fprintf(fp, "#ifdef IN_COHORT\n");
    for (SamplerInfo const& s : samplings)
        fprintf(fp, "FileSampler %s;\n", s.sampler.c_str());
    fprintf(fp, "#else\n");
    for (SamplerInfo const& s : samplings)
        fprintf(fp, "extern FileSampler %s;\n", s.sampler.c_str());
    fprintf(fp, "#endif\n");
}

// 	_sampler0.InitGlobal("boot.csv", 1);
void InitSamplersGlobal(std::string const& model, FILE* fp) {
    for (SamplerInfo const& s : samplings) {
        if (s.model != model) continue;
        fprintf(fp, "\t%s.InitGlobal(\"", s.sampler.c_str());
        GenEscaped(fp, s.file);
        fprintf(fp, "\", %d);\n", s.mode);
    }
}

// 	_sampler0.InitReplicate();
void InitSamplersReplicate(std::string const& model, FILE* fp) {
    for (SamplerInfo const& s : samplings)
        if (s.model == model) fprintf(fp, "\t%s.InitReplicate();\n", s.sampler.c_str());
}

// 	_sampler1.InitSubject();
// Only a distribution's sampler reads a row per subject.
void InitSamplersSubject(std::string const& model, FILE* fp) {
    for (SamplerInfo const& s : samplings)
        if (s.model == model && dynamic_cast<Dist const*>(s.node.get()))
            fprintf(fp, "\t%s.InitSubject();\n", s.sampler.c_str());
}

// 		_sampler1.GetDouble("SEXCOL", sFileCell);
// 		if (0){
// 		} else if (strcmp(sFileCell, "male")==0){
// 			sex = 0;
// 		}
// A categorical covariate: its text cell is mapped to the category's index.
static void GenCategorySampling(SamplerInfo const& s, CSampleVarOption const& v, FILE* fp) {
    fprintf(fp, "\t\t%s.GetDouble(\"%s\", sFileCell);\n", s.sampler.c_str(),
            (char const*)v.sColumn);
    fprintf(fp, "\t\tif (0){\n");
    for (size_t k = 0; k < v.categories.size(); k++) {
        fprintf(fp, "\t\t} else if (strcmp(sFileCell, \"%s\")==0){\n",
                (char const*)v.categories[k]->sName);
        fprintf(fp, "\t\t\t%s = %d;\n", (char const*)v.sVar, int(k));
    }
    fprintf(fp, "\t\t}\n");
}

// 		_sampler1.GetDouble("WTCOL", wt);
static bool GenDistSampling(SamplerInfo const& s, Dist const& d, std::string const& var, FILE* fp) {
    for (auto const& v : d.pSampleOption->vars) {
        if (v->sVar != var.c_str()) continue;
        if (v->categories.empty())
            fprintf(fp, "\t\t%s.GetDouble(\"%s\", %s);\n", s.sampler.c_str(),
                    (char const*)v->sColumn, (char const*)v->sVar);
        else
            GenCategorySampling(s, *v, fp);
        return true;
    }
    return false;
}

// 	_sampler0.GetDouble("tvVCOL", tvV);
static bool GenSampleSampling(SamplerInfo const& s, Sample const& sample, std::string const& var,
                              FILE* fp) {
    for (SimpleMapping const& m : sample.simpleMappings) {
        if (m.var != var) continue;
        fprintf(fp, "\t%s.GetDouble(\"%s\", %s);\n", s.sampler.c_str(), m.column.c_str(),
                m.var.c_str());
        return true;
    }
    return false;
}

bool GenSampling(std::string const& model, std::string const& var, FILE* fp) {
    for (SamplerInfo const& s : samplings) {
        if (s.model != model) continue;
        if (auto const* d = dynamic_cast<Dist const*>(s.node.get())) {
            if (d->pSampleOption && GenDistSampling(s, *d, var, fp)) return true;
        } else if (auto const* sample = dynamic_cast<Sample const*>(s.node.get())) {
            if (GenSampleSampling(s, *sample, var, fp)) return true;
        }
    }
    return false;
}

static bool Holds(MatrixMapping const& m, std::string const& var) {
    for (std::string const& v : m.vars)
        if (v == var) return true;
    return false;
}

// 	_sampler0.GetDouble("omega_2_1", _omega1[2]);
static void GenCellRead(SamplerInfo const& s, std::string const& column, std::string const& target,
                        int index, FILE* fp) {
    fprintf(fp, "\t%s.GetDouble(\"%s\", %s[%d]);\n", s.sampler.c_str(), column.c_str(),
            target.c_str(), index);
}

// The columns of a block mapping fill the lower triangle of the n by n matrix, row by row.
static void GenBlockCells(SamplerInfo const& s, MatrixMapping const& m, std::string const& target,
                          int n, FILE* fp) {
    size_t k = 0;
    for (int r = 0; r < n; r++)
        for (int c = 0; c <= r && k < m.columns.size(); c++)
            GenCellRead(s, m.columns[k++], target, r * n + c, fp);
}

// A diag mapping fills the diagonal.
static void GenDiagCells(SamplerInfo const& s, MatrixMapping const& m, std::string const& target,
                         int n, FILE* fp) {
    for (size_t k = 0; k < m.columns.size(); k++)
        GenCellRead(s, m.columns[k], target, int(k) * (n + 1), fp);
}

static bool GenSampleBlock(SamplerInfo const& s, Sample const& sample, std::string const& var,
                           std::string const& target, int n, FILE* fp) {
    for (MatrixMapping const& m : sample.blockMappings) {
        if (!Holds(m, var)) continue;
        GenBlockCells(s, m, target, n, fp);
        return true;
    }
    for (MatrixMapping const& m : sample.diagMappings) {
        if (!Holds(m, var)) continue;
        GenDiagCells(s, m, target, n, fp);
        return true;
    }
    for (SimpleMapping const& m : sample.simpleMappings) {
        if (m.var != var) continue;
        GenCellRead(s, m.column, target, 0, fp);
        return true;
    }
    return false;
}

bool GenBlockSampling(std::string const& model, std::string const& var, std::string const& target,
                      int n, FILE* fp) {
    for (SamplerInfo const& s : samplings) {
        auto const* sample = dynamic_cast<Sample const*>(s.node.get());
        if (s.model == model && sample && GenSampleBlock(s, *sample, var, target, n, fp))
            return true;
    }
    return false;
}
