// SPDX-License-Identifier: Apache-2.0
#include "roff.h"

#include <stdint.h>
#include <stdio.h>

#include <sstream>

namespace hidlaudio::manual {
namespace {

constexpr size_t kLongestLine = 78;
constexpr size_t kIndent = 2;

struct Special {
    char character;
    const char* escape;
};

constexpr Special kSpecials[] = {
    {'\\', "\\e"},  {'-', "\\-"},   {'\'', "\\(aq"}, {'`', "\\(ga"},
    {'^', "\\(ha"}, {'~', "\\(ti"}, {'"', "\\(dq"},
};

/** The bytes that follow the first of a character. */
size_t followers(unsigned char first) {
    if (first >= 0xF0) return 3;
    if (first >= 0xE0) return 2;
    return first >= 0xC0 ? 1 : 0;
}

/** The character at `at`, which is moved to its last byte. */
std::string escapedWide(const std::string& text, size_t& at) {
    const size_t count = followers(static_cast<unsigned char>(text[at]));
    uint32_t code = static_cast<unsigned char>(text[at]) & (0x3Fu >> count);
    for (size_t i = 0; i < count && at + 1 < text.size(); ++i) {
        code = code << 6 | (static_cast<unsigned char>(text[++at]) & 0x3Fu);
    }
    char name[16];
    snprintf(name, sizeof(name), "\\[u%04X]", code);
    return name;
}

std::string escapedAscii(char character) {
    for (const Special& special : kSpecials) {
        if (special.character == character) return special.escape;
    }
    return {character};
}

/** A line of text that begins with a dot would be taken for a request. */
std::string asTextLine(const std::string& line) {
    return line.empty() || line[0] != '.' ? line : "\\&" + line;
}

/** Each `code` in bold, so that what is typed is told from what is said. */
std::string withCode(const std::string& text) {
    std::string result;
    size_t at = 0;
    while (at < text.size()) {
        const size_t open = text.find('`', at);
        const size_t close = open == std::string::npos ? open : text.find('`', open + 1);
        if (close == std::string::npos) break;
        result += escaped(text.substr(at, open - at)) + bold(text.substr(open + 1, close - open - 1));
        at = close + 1;
    }
    return result + escaped(text.substr(at));
}

bool isShownAsIs(const std::string& line) {
    return line.compare(0, kIndent, std::string(kIndent, ' ')) == 0;
}

std::string asIs(const std::string& lines) {
    return ".RS 4\n.EX\n" + lines + ".EE\n.RE\n";
}

}  // namespace

std::string escaped(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool wide = static_cast<unsigned char>(text[at]) >= 0x80;
        result += wide ? escapedWide(text, at) : escapedAscii(text[at]);
    }
    return result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string quoted(const std::string& text) {
    return "\"" + escaped(text) + "\"";
}

std::string prose(const std::string& text) {
    std::istringstream words(withCode(text));
    std::string result;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + 1 + word.size() > kLongestLine) {
            result += asTextLine(line) + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return line.empty() ? result : result + asTextLine(line) + "\n";
}

std::string paragraphs(const std::string& text) {
    std::string result;
    std::string said;
    std::string shown;
    const auto finish = [&] {
        if (!said.empty()) result += ".PP\n" + prose(said);
        if (!shown.empty()) result += asIs(shown);
        said.clear();
        shown.clear();
    };
    std::istringstream lines(text + "\n\n");
    for (std::string line; std::getline(lines, line);) {
        const bool asItIs = isShownAsIs(line);
        if (line.empty() || (!asItIs && !shown.empty())) finish();
        if (asItIs) {
            shown += asTextLine(escaped(line.substr(kIndent))) + "\n";
        } else if (!line.empty()) {
            said += (said.empty() ? "" : " ") + line;
        }
    }
    return result;
}

}  // namespace hidlaudio::manual
