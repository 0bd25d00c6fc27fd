// SPDX-License-Identifier: Apache-2.0
#include <string.h>

#include <charconv>
#include <optional>

#include "faults.h"

namespace hidlaudio::host {
namespace {

constexpr std::string_view kShort = "short=";
constexpr std::string_view kDelay = "delay=";
constexpr std::string_view kDies = "dies";
constexpr int kLastErrno = 133;

template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

/** Returns the errno with this number or name, or 0 if there is none. */
int parseErrno(std::string_view text) {
    if (const auto number = parseNumber<int>(text)) return *number > 0 ? *number : 0;
    for (int number = 1; number <= kLastErrno; ++number) {
        const char* name = strerrorname_np(number);
        if (name != nullptr && text == name) return number;
    }
    return 0;
}

/** Parses `text` as `start` followed by a number. Returns false for any other text. */
template <typename Number>
bool parseAfter(std::string_view start, std::string_view text, Number& number) {
    if (text.substr(0, start.size()) != start) return false;
    const auto parsed = parseNumber<Number>(text.substr(start.size()));
    number = parsed.value_or(number);
    return parsed.has_value();
}

bool parseOutcome(std::string_view outcome, Fault& fault) {
    fault.dies = outcome == kDies;
    if (fault.dies || parseAfter(kShort, outcome, fault.bytes)) return true;
    if (parseAfter(kDelay, outcome, fault.delay)) return fault.delay != 0;
    fault.error = parseErrno(outcome);
    return fault.error != 0;
}

std::optional<Fault> parseCallFault(std::string_view text) {
    const size_t first = text.find(':');
    const size_t second = text.find(':', first == text.npos ? first : first + 1);
    if (second == text.npos) return std::nullopt;
    Fault fault;
    fault.call = text.substr(0, first);
    std::string_view nth = text.substr(first + 1, second - first - 1);
    fault.lasting = !nth.empty() && nth.back() == '+';
    if (fault.lasting) nth.remove_suffix(1);
    fault.nth = parseNumber<unsigned>(nth).value_or(0);
    if (!parseOutcome(text.substr(second + 1), fault)) return std::nullopt;
    return fault;
}

std::string allCalls() {
    std::string names;
    for (const std::string& call : faultableCalls()) names += " " + call;
    return names;
}

}  // namespace

std::string injectFaults(std::string_view text) {
    while (!text.empty()) {
        const std::string_view one = text.substr(0, text.find(','));
        const std::optional<Fault> fault = parseCallFault(one);
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
