// The files of generated text: each written by one thread from start to end, so the stream
// takes no locks, and through a buffer large enough that a model of thousands of statements
// goes out in a few writes instead of one per page.
#include "driver/driver.h"

#include <cstdlib>
#include <stdio_ext.h>
#include <unordered_map>

static size_t const outputBufferSize = 1 << 20;

// The buffer of each open output file, freed when the file is closed.
static std::unordered_map<FILE*, char*> buffers;

FILE* OpenOutputFile(char const* path, char const* mode) {
    FILE* f = fopen(path, mode);
    if (!f) return nullptr;
    __fsetlocking(f, FSETLOCKING_BYCALLER);
    if (char* buffer = static_cast<char*>(malloc(outputBufferSize))) {
        if (setvbuf(f, buffer, _IOFBF, outputBufferSize) == 0)
            buffers[f] = buffer;
        else
            free(buffer);
    }
    return f;
}

int CloseOutputFile(FILE* f) {
    char* buffer = nullptr;
    auto at = buffers.find(f);
    if (at != buffers.end()) {
        buffer = at->second;
        buffers.erase(at);
    }
    int const r = fclose(f);
    free(buffer);
    return r;
}
