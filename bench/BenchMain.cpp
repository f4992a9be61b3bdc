#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <list>
#include <string>

#include "bench/Competition.h"
#include "bench/DataFiles.h"

// pelko_bench DATA ROWS... [--benchmark_...]: every operation by every competitor on copies of the files that
// pelko_bench_data made in the folder DATA.

int main(int argc, char** argv) {
    using namespace pelkobench;
    benchmark::Initialize(&argc, argv);
    if (argc < 3) {
        std::fputs("usage: pelko_bench DATA ROWS... [--benchmark_...]\n", stderr);
        return 2;
    }
    try {
        const std::string data = argv[1];
        const std::string work = data + "/work";
        std::list<Competition> competitions;
        for (int i = 2; i < argc; ++i) {
            const int rows = std::atoi(argv[i]);
            copyDataFiles(data, work, rows);
            competitions.emplace_back(work, rows).registerBenchmarks();
        }
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        std::filesystem::remove_all(work);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "pelko_bench: %s\n", exception.what());
        return 1;
    }
    return 0;
}
