// The include clauses that may open a model text or a trial script.
#include "parser/parser.h"

#include <memory>

// { include ( "name" ) }
void parsIncludes(char const*& p, NV& includes) {
    char name[NAME_BUF_SIZE];
    while (seeWord(p, "include")) {
        expect_char(p, '(', "Expected: '('");
        if (!seeStr(p, name)) syntax_err("Expected: name of file to include, i.e. \"foo.h\"", p);
        expect_char(p, ')', "Expected: ')'");
        includes.push_back(MakeNode(CN_FILE, name));
    }
}
