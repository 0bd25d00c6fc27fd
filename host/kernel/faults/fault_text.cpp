// SPDX-License-Identifier: Apache-2.0
#include <optional>

#include "faults.h"
#include "host/program/parse_number.h"

namespace hidlaudio::host {
namespace {

std::optional<Fault> parseFaultOfCall(std::string_view text) {
    const size_t first = text.find(':');
    const size_t second = text.find(':', first == text.npos ? first : first + 1);
    if (second == text.npos) return std::nullopt;
    const std::optional<FaultSetting> setting = parseCallFault(text.substr(second + 1));
    if (!setting || setting->count != 0) return std::nullopt;
    Fault fault = effectOf(*setting);
    fault.call = text.substr(0, first);
    std::string_view nth = text.substr(first + 1, second - first - 1);
    fault.lasting = !nth.empty() && nth.back() == '+';
    if (fault.lasting) nth.remove_suffix(1);
    fault.nth = parseNumber<unsigned>(nth).value_or(0);
    return fault;
}

std::string allCalls() {
    std::string names;
    for (const std::string call : kFaultableCalls) names += " " + call;
    return names;
}

}  // namespace

std::string injectFaults(std::string_view text) {
    while (!text.empty()) {
        const std::string_view one = text.substr(0, text.find(','));
        const std::optional<Fault> fault = parseFaultOfCall(one);
        if (!fault || !injectFault(*fault)) {
            return "\"" + std::string(one) +
                   "\" is not a fault. Accepted are CALL:N:ERRNO, CALL:N:delay=MILLISECONDS, "
                   "CALL:N:dies and, for read, write, fread and fwrite, CALL:N:short=BYTES. "
                   "N+ means every call from the N-th on. CALL is one of" +
                   allCalls();
        }
        text.remove_prefix(std::min(text.size(), one.size() + 1));
    }
    return "";
}

}  // namespace hidlaudio::host
