// SPDX-License-Identifier: Apache-2.0
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/** A target may do without it. */
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/** Runs a target with each file of a folder. Replaces the fuzzer in builds without one. */
int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
    if (argc != 2) {
        fprintf(stderr, "Usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[1])) {
        if (!entry.is_regular_file()) continue;
        printf("%s\n", entry.path().c_str());
        fflush(stdout);  // so that the file is known if the target aborts
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<uint8_t> input(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    if (count == 0) fprintf(stderr, "%s holds no input\n", argv[1]);
    return count > 0 ? 0 : 1;
}
