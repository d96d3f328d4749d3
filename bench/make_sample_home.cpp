// Builds a sample home with data for every browser the worker cleans:
//   make_sample_home DIR
// DIR is made if missing; files already there are overwritten.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "support/sample_data.h"

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIR\n", argv[0]);
        return 64;
    }
    try {
        std::filesystem::create_directories(argv[1]);
        tasselby::testing::buildSampleHome(tasselby::testing::SampleHome(argv[1]));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make_sample_home: %s\n", failure.what());
        return 1;
    }
    return 0;
}
