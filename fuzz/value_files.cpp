// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include "host/tv_files/back_end_behaviour.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "input.h"
#include "private_tv.h"

namespace {

using namespace hidlaudio::host;  // NOLINT: names of the tested code
using namespace hidlaudio::fuzz;  // NOLINT: names of the fuzz support

/** Requires that a parsed number is written as text with the same value. */
void tryNumbers(std::string_view text) {
    const std::optional<int32_t> number = parseInt32(text);
    if (number) require(parseInt32(std::to_string(*number)) == number);
    const std::optional<uint32_t> natural = parseUint32(text);
    if (natural) require(parseUint32(std::to_string(*natural)) == natural);
}

void tryFault(std::string_view text) {
    const std::optional<FaultSetting> fault = parseFault(text);
    if (!fault) return;
    const std::optional<FaultSetting> again = parseFault(formatFault(*fault));
    require(again && again->status == fault->status && again->count == fault->count && fault->count >= 0);
}

void tryBehaviourLine(std::string_view text) {
    std::string problem;
    const std::optional<BehaviourLine> line = parseBehaviourLine(text, problem);
    require(line.has_value() == problem.empty());
    if (!line) return;
    const std::optional<BehaviourLine> again = parseBehaviourLine(formatBehaviourLine(*line), problem);
    require(again && again->kind == line->kind && again->setting == line->setting &&
            again->value == line->value);
}

void tryBehaviourFile(const uint8_t* data, size_t size) {
    static const TvFile file(kBehaviourFile);
    file.fill(data, size);
    std::vector<BehaviourLine> lines;
    std::string problem;
    if (!readBehaviourLines(tvRoot(), lines, problem)) return require(!problem.empty());
    for (const UploadKind kind : kUploadKinds) {
        for (size_t i = 0; i < std::size(kBackEndSettings); ++i) {
            const int32_t value = settingValue(lines, kind, static_cast<BackEndSetting>(i));
            require(value >= kBackEndSettings[i].smallest && value <= kBackEndSettings[i].largest);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    silenceLog();
    makePrivateTv();
    return 0;
}

/** Parses the texts that users write into the virtual TV. Input: text of a file or of one line. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    tryNumbers(text);
    tryFault(text);
    tryBehaviourLine(text);
    (void)isValueName(text);
    tryBehaviourFile(data, size);
    return 0;
}
