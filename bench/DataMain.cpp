#include <cstdio>
#include <cstdlib>
#include <exception>

#include "bench/DataFiles.h"

// pelko_bench_data DATA ROWS...: makes the files of each size in the folder DATA, unless they are there.

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: pelko_bench_data DATA ROWS...\n", stderr);
        return 2;
    }
    try {
        for (int i = 2; i < argc; ++i) {
            pelkobench::makeDataFiles(argv[1], std::atoi(argv[i]));
        }
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "pelko_bench_data: %s\n", exception.what());
        return 1;
    }
    return 0;
}
