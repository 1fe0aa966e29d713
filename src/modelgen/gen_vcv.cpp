// The variance-covariance blocks that vcvfixef statements give for fixed effects and sigmas:
// the check of their names, and GetVcv, which hands the blocks to the engine.
#include "modelgen/gencode.h"

#include <cstdlib>

static NV VcvStatements(cn const& body) {
    NV out;
    for (N const& s : GetTopStatements(body))
        if (s && s->type == CN_VCVFIXEF && s->child1 && s->child2) out.push_back(s);
    return out;
}

// Only fixed effects and sigmas, each once over all statements. Every name is checked before
// the run ends; a frozen one is sampled all the same, with a warning.
void CGenCode::CheckVcvfixef() const {
    SV seen;
    bool bad = false;
    for (N const& s : VcvStatements(pBody)) {
        for (N const& n : s->child1->list) {
            int fixef = MemberOf(n->name, saFixef), error = MemberOf(n->name, saError);
            if (fixef < 0 && error < 0) {
                err_pos(n->pos) << "Only fixed effects and sigmas can be included.";
                bad = true;
                continue;
            }
            if (MemberOf(n->name, seen) >= 0) {
                err_pos(n->pos) << "The name is already used in vcvfixef.";
                bad = true;
                continue;
            }
            seen.push_back(n->name);
            if (fixef >= 0 && size_t(fixef) < naFixefFrozen.size() && naFixefFrozen[size_t(fixef)])
                Warning() << "Fixed effect '" << n->name
                          << "' is frozen, but will be sampled anyway\n";
            else if (error >= 0 && size_t(error) < naErrorFrozen.size() &&
                     naErrorFrozen[size_t(error)])
                Warning() << "Standard error '" << n->name
                          << "' is frozen, but will be sampled anyway\n";
        }
    }
    if (bad) exit(1);
}

//
// int GetVcv(const char **& names, const double *& vals, const int *& sizes)
// {
//     static const char * nms[] = {
//         "tvV", "tvCl",
//     };
//     ...
//     return 1;
// }
void CGenCode::GenVcvfixef() {
    SV names, sizes;
    std::vector<double> values;
    std::vector<int> counts;
    for (N const& s : VcvStatements(pBody)) {
        for (N const& n : s->child1->list)
            names.push_back(n->name);
        for (N const& v : s->child2->list)
            values.push_back(v->value);
        counts.push_back(int(s->child1->list.size()));
    }
    fprintf(fp, "\n");
    fprintf(fp, "int GetVcv(const char **& names, const double *& vals, const int *& sizes)\n{\n");
    if (!names.empty()) {
        fprintf(fp, "    static const char * nms[] = {\n        ");
        for (String const& n : names)
            fprintf(fp, "\"%s\", ", C(n));
        fprintf(fp, "\n    };\n\n");
        fprintf(fp, "    static const double values[] = {\n        ");
        for (double v : values)
            fprintf(fp, "%g, ", v);
        fprintf(fp, "\n    };\n\n");
        fprintf(fp, "    static const int szs[] = {\n        ");
        for (int c : counts)
            fprintf(fp, "%d, ", c);
        fprintf(fp, "\n    };\n\n");
        fprintf(fp, "    names = nms;\n");
        fprintf(fp, "    vals = values;\n");
        fprintf(fp, "    sizes = szs;\n\n");
    }
    if (!counts.empty()) fprintf(fp, "    reset_thetas_to_init = false;\n\n");
    fprintf(fp, "    return %d;\n", int(counts.size()));
    fprintf(fp, "}\n\n");
}
