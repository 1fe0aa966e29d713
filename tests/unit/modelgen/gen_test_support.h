// Support for tests of the sections of Model.cpp: run a Gen* routine of a CGenCode into a
// temporary file and get its text back, and check fragments of that text in order, in the
// manner of FileCheck, with a report that shows where the search stopped.
#pragma once

#include "modelgen/gencode.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <string>

// Runs 'gen' with g.fp on a temporary file and returns everything it printed.
inline std::string GenText(CGenCode& g, void (CGenCode::*gen)()) {
    FILE* f = tmpfile();
    if (!f) {
        ADD_FAILURE() << "tmpfile() failed";
        return "";
    }
    g.fp = f;
    (g.*gen)();
    g.fp = nullptr;
    std::string text;
    rewind(f);
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof buf, f)) > 0;)
        text.append(buf, n);
    fclose(f);
    return text;
}

// Makes tabs and line ends visible, so a report shows the exact characters.
inline std::string Visible(std::string const& s) {
    std::string out;
    for (char c : s) {
        if (c == '\n')
            out += "\\n\n";
        else if (c == '\t')
            out += "\\t";
        else
            out += c;
    }
    return out;
}

// Each fragment must occur in 'text' at or after the end of the one before it.
inline ::testing::AssertionResult InOrder(std::string const& text,
                                          std::initializer_list<std::string> fragments) {
    size_t pos = 0;
    int i = 0;
    for (std::string const& f : fragments) {
        size_t at = text.find(f, pos);
        if (at == std::string::npos) {
            bool anywhere = text.find(f) != std::string::npos;
            return ::testing::AssertionFailure()
                   << "fragment " << i << " not found " << (anywhere ? "in order" : "at all")
                   << ":\n"
                   << Visible(f) << "\n---- text from the end of the previous fragment:\n"
                   << Visible(text.substr(pos, 1500));
        }
        pos = at + f.size();
        i++;
    }
    return ::testing::AssertionSuccess();
}

#define EXPECT_IN_ORDER(text, ...) EXPECT_TRUE(InOrder(text, __VA_ARGS__))

// Number of occurrences of 'fragment' in 'text', not overlapping.
inline int CountOf(std::string const& text, std::string const& fragment) {
    int n = 0;
    for (size_t at = text.find(fragment); at != std::string::npos;
         at = text.find(fragment, at + fragment.size()))
        n++;
    return n;
}

// The part of 'text' from the first 'from' up to (not including) the next 'to' after it;
// empty when 'from' is missing.
inline std::string Between(std::string const& text, std::string const& from,
                           std::string const& to) {
    size_t a = text.find(from);
    if (a == std::string::npos) return "";
    size_t b = text.find(to, a + from.size());
    return text.substr(a, b == std::string::npos ? std::string::npos : b - a);
}
