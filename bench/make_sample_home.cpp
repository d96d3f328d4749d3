// Builds a sample home with data for every browser the worker cleans:
//   make_sample_home DIR [SYSTEM_ROOT]
// DIR is made if missing; files already there are overwritten. With
// SYSTEM_ROOT, the per-user temporary folders under it are filled too.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "support/sample_data.h"

int main(int argc, char* argv[]) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr, "usage: %s DIR [SYSTEM_ROOT]\n", argv[0]);
        return 64;
    }
    try {
        std::filesystem::create_directories(argv[1]);
        tasselby::testing::buildSampleHome(tasselby::testing::SampleHome(argv[1]), argc == 3 ? argv[2] : "");
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make_sample_home: %s\n", failure.what());
        return 1;
    }
    return 0;
}
