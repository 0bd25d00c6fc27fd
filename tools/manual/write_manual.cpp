// SPDX-License-Identifier: Apache-2.0
#include "write_manual.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <fstream>
#include <iterator>

#include "bash_completion.h"
#include "man_page.h"
#include "zsh_completion.h"

namespace hidlaudio::manual {
namespace {

int fail(const std::string& message) {
    fprintf(stderr, "manual: %s\n", message.c_str());
    return 1;
}

bool writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file) fail(path + ": " + strerror(errno));
    return static_cast<bool>(file);
}

}  // namespace

int writeManual(CLI::App& app, const std::vector<Suggestion>& suggestions, int argc, char** argv) {
    if (argc != 3) return fail(std::string("usage: ") + argv[0] + " OUT END");
    std::ifstream endFile(argv[2], std::ios::binary);
    if (!endFile) return fail(std::string(argv[2]) + ": " + strerror(errno));
    const std::string end(std::istreambuf_iterator<char>(endFile), {});
    Command root = readCommandTree(app);
    std::string problem;
    if (!addSuggestions(root, suggestions, problem)) return fail(problem);
    const std::string folder = std::string(argv[1]) + "/";
    const PageTitle title{"1", HIDLAUDIO_DATE, "hidlaudio " HIDLAUDIO_VERSION};
    const bool written = writeFile(folder + root.path + ".1", manPage(root, title, end)) &&
                         writeFile(folder + root.path + ".bash", bashCompletion(root)) &&
                         writeFile(folder + "_" + root.path, zshCompletion(root));
    return written ? 0 : 1;
}

}  // namespace hidlaudio::manual
