// The files of generated text: each written by one thread from start to end, so the stream
// takes no locks, and through a buffer large enough that a model of thousands of statements
// goes out in a few writes instead of one per page. A translation that fails while a file is
// open deletes it, so that no half-written file stays behind.
#include "driver/driver.h"

#include <cstdio>
#include <cstdlib>
#include <stdio_ext.h>
#include <string>
#include <unordered_map>

static size_t const outputBufferSize = 1 << 20;

struct OutputFile {
    std::string path;
    char* buffer; // freed when the file is closed, or null
};

static std::unordered_map<FILE*, OutputFile> openFiles;

FILE* OpenOutputFile(char const* path, char const* mode) {
    FILE* f = fopen(path, mode);
    if (!f) return nullptr;
    __fsetlocking(f, FSETLOCKING_BYCALLER);
    char* buffer = static_cast<char*>(malloc(outputBufferSize));
    if (buffer && setvbuf(f, buffer, _IOFBF, outputBufferSize) != 0) {
        free(buffer);
        buffer = nullptr;
    }
    openFiles[f] = OutputFile{path, buffer};
    return f;
}

int CloseOutputFile(FILE* f) {
    char* buffer = nullptr;
    auto at = openFiles.find(f);
    if (at != openFiles.end()) {
        buffer = at->second.buffer;
        openFiles.erase(at);
    }
    int const r = fclose(f);
    free(buffer);
    return r;
}

void DiscardOpenOutputFiles() {
    for (auto& [f, file] : openFiles) {
        fclose(f);
        free(file.buffer);
        remove(file.path.c_str());
    }
    openFiles.clear();
}
