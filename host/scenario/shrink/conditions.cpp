// SPDX-License-Identifier: Apache-2.0
#include "conditions.h"

#include <android-base/strings.h>
#include <regex.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "host/program/hex.h"
#include "host/program/split_text.h"
#include "host/scenario/run_log.h"
#include "host/scenario/trace.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using android::base::ConsumeSuffix;
using android::base::StartsWith;

using Matcher = std::function<bool(const std::string& text)>;
using Lines = std::vector<std::string>;

constexpr std::chrono::seconds kCommandTimeout{60};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

bool anyOf(const Lines& lines, const Matcher& matches) {
    return std::any_of(lines.begin(), lines.end(), matches);
}

std::string tvOf(const RunSetup& setup) {
    return setup.folder + "/tv";
}

std::string logFileOf(const RunSetup& setup) {
    return tvOf(setup) + "/log/hidlaudio.log";
}

/** Parses /REGEX/, a POSIX extended regular expression, or a literal text. Returns an error message, or "".
 */
std::string parseMatcher(const std::string& text, Matcher& matcher) {
    const bool isRegex = text.size() > 2 && text[0] == '/' && text.back() == '/';
    if (!isRegex) {
        matcher = [text](const std::string& given) { return contains(given, text); };
        return "";
    }
    const std::string source = text.substr(1, text.size() - 2);
    auto compiled = std::make_unique<regex_t>();
    const int error = regcomp(compiled.get(), source.c_str(), REG_EXTENDED | REG_NOSUB);
    if (error != 0) {
        char message[200];
        regerror(error, compiled.get(), message, sizeof(message));
        return text + ": " + message;
    }
    const std::shared_ptr<regex_t> regex(compiled.release(), [](regex_t* owned) {
        regfree(owned);
        std::default_delete<regex_t>()(owned);
    });
    matcher = [regex](const std::string& given) {
        return regexec(regex.get(), given.c_str(), 0, nullptr, 0) == 0;
    };
    return "";
}

bool isHang(const std::string& problem) {
    return StartsWith(problem, "hang:");
}

template <bool (*MATCHES)(const std::string& problem)>
std::string parseEnd(const std::string&, Condition& condition) {
    condition = [](const FinishedRun& run) { return anyOf(run.result.problems, MATCHES); };
    return "";
}

std::string parseProblem(const std::string& text, Condition& condition) {
    condition = [text](const FinishedRun& run) {
        return anyOf(run.result.problems, [&](const std::string& each) { return contains(each, text); });
    };
    return "";
}

Lines logLines(const FinishedRun& run) {
    return splitLines(contentOf(logFileOf(run.setup)));
}

/** Returns the output and errors of the lines, and the calls to callbacks. */
Lines answerLines(const FinishedRun& run) {
    Lines all;
    const auto add = [&all](const Lines& lines) { all.insert(all.end(), lines.begin(), lines.end()); };
    for (const LineOutcome& line : run.result.lines) {
        add(splitLines(line.output));
        add(splitLines(line.errors));
    }
    for (const auto& [client, calls] : run.result.callbacks) add(calls);
    return all;
}

template <Lines (*LINES)(const FinishedRun& run)>
std::string parseLines(const std::string& text, Condition& condition) {
    Matcher matches;
    std::string problem = parseMatcher(text, matches);
    condition = [matches](const FinishedRun& run) { return anyOf(LINES(run), matches); };
    return problem;
}

std::string parseNoLog(const std::string& text, Condition& condition) {
    Condition hasLine;
    std::string problem = parseLines<logLines>(text, hasLine);
    condition = [hasLine](const FinishedRun& run) { return !hasLine(run); };
    return problem;
}

/** Returns a file of the TV at the end of the run, or `std::nullopt` if it does not exist. */
std::optional<std::string> tvFile(const FinishedRun& run, const std::string& path) {
    if (const std::string* const content = findIn(run.result.files, path)) return *content;
    std::error_code ignored;
    if (!fs::is_regular_file(tvOf(run.setup) + path, ignored)) return std::nullopt;
    return contentOf(tvOf(run.setup) + path);
}

std::string parseFile(const std::string& text, Condition& condition) {
    std::string_view path(text);
    const size_t equal = text.find('=');
    const bool isMissing = equal == std::string::npos && ConsumeSuffix(&path, " missing");
    if (equal == std::string::npos && !isMissing)
        return "expected file:PATH=HEX, file:PATH!=HEX or `file:PATH missing`";
    path = path.substr(0, equal);
    const bool isOther = !isMissing && ConsumeSuffix(&path, "!");
    if (path.empty() || path[0] != '/' || contains(path, ".."))
        return "PATH must be an absolute path without .., as the daemon uses it";
    const auto wanted = fromHex(isMissing ? "" : text.substr(equal + 1));
    if (!wanted) return "HEX must be pairs of hexadecimal digits";
    condition = [path = std::string(path), isMissing, isOther, content = *wanted](const FinishedRun& run) {
        const std::optional<std::string> file = tvFile(run, path);
        return file ? !isMissing && (*file == content) != isOther : isMissing;
    };
    return "";
}

/** Returns the outcomes of the commands that the scenario waits for. */
Lines commandOutcomes(const Scenario& scenario, const RunResult& result) {
    Lines outcomes;
    for (size_t i = 0; i < scenario.lines.size(); ++i) {
        const LineOutcome& line = result.lines[i];
        if (scenario.lines[i].kind != ScenarioLine::Kind::Command || scenario.lines[i].background) continue;
        outcomes.push_back(std::to_string(line.status) + line.output + line.errors);
    }
    return outcomes;
}

Trace logTraceOf(const RunSetup& setup) {
    Trace trace;
    readLogTrace(logFileOf(setup), trace);  // a daemon that logs nothing has an empty trace
    for (TraceLine& line : trace) line.text = withoutVariations(line.text, setup.folder);
    return trace;
}

/** Runs the scenario with another daemon and compares the two runs. */
bool isDifferent(const FinishedRun& run, const std::string& daemon) {
    RunSetup setup = run.setup;
    setup.folder += "/other";
    setup.daemon = daemon;
    const RunResult other = runScenario(run.scenario, setup);
    const bool otherCrashed = anyOf(other.problems, isCrash);
    const bool crashed = anyOf(run.result.problems, isCrash);
    if (crashed || otherCrashed) return crashed != otherCrashed;
    return commandOutcomes(run.scenario, run.result) != commandOutcomes(run.scenario, other) ||
           firstDifference(answersOf(run.scenario, run.result), answersOf(run.scenario, other)) ||
           firstDifference(logTraceOf(run.setup), logTraceOf(setup));
}

std::string parseDifferent(const std::string& text, Condition& condition) {
    const std::string daemon = fs::absolute(text);
    std::error_code ignored;
    if (!fs::is_regular_file(daemon, ignored) || access(daemon.c_str(), X_OK) != 0)
        return text + " is not a program";
    condition = [daemon](const FinishedRun& run) { return isDifferent(run, daemon); };
    return "";
}

bool commandSucceeds(const FinishedRun& run, const std::string& command) {
    const RunSetup& setup = run.setup;
    const std::string output = setup.folder + "/condition.out";
    pid_t pid = 0;
    const int error = startChild({{"/bin/sh", "-c", command},
                                  {"HIDLAUDIO_TV=" + tvOf(setup), "HIDLAUDIO_LOG=" + logFileOf(setup)},
                                  output,
                                  output,
                                  setup.folder + "/files"},
                                 pid);
    if (error != 0) return false;
    const auto status = statusWithin(pid, kCommandTimeout);
    if (!status) endChild(pid, SIGKILL, {});
    return status == 0;
}

std::string parseCommand(const std::string& text, Condition& condition) {
    condition = [text](const FinishedRun& run) { return commandSucceeds(run, text); };
    return "";
}

enum class Argument { None, Optional, Required };

struct ConditionKind {
    const char* name;
    Argument argument;
    std::string (*parse)(const std::string& argument, Condition& condition);
    const char* forms;
    const char* meaning;
};

constexpr ConditionKind kKinds[] = {
    {"crash", Argument::None, parseEnd<isCrash>, "crash", "the daemon ended by itself"},
    {"hang", Argument::None, parseEnd<isHang>, "hang", "a command or a call got no answer"},
    {"problem", Argument::Optional, parseProblem, "problem[:TEXT]",
     "there is a violation, as in `tv replay`, that contains TEXT"},
    {"log", Argument::Required, parseLines<logLines>, "log:TEXT, log:/REGEX/",
     "a line of the daemon's log contains TEXT or matches REGEX"},
    {"nolog", Argument::Required, parseNoLog, "nolog:TEXT, nolog:/REGEX/", "the log has no such line"},
    {"answer", Argument::Required, parseLines<answerLines>, "answer:TEXT, answer:/REGEX/",
     "a line of a command's output, an answer to a client or a call\n"
     "to a client's callback contains TEXT or matches REGEX"},
    {"file", Argument::Required, parseFile, "file:PATH=HEX, file:PATH!=HEX",
     "the TV's file has these bytes at the end, or other ones.\n"
     "\"file:PATH missing\": it does not exist"},
    {"different", Argument::Required, parseDifferent, "different:DAEMON",
     "the log or the answers differ from those of the program\n"
     "DAEMON in place of the daemon, or only one of both crashes"},
    {"command", Argument::Required, parseCommand, "command:COMMAND",
     "this shell command has exit status 0 within 60 s. It runs\n"
     "after the run, in the folder of the scenario's files.\n"
     "HIDLAUDIO_TV is the TV's folder, HIDLAUDIO_LOG the daemon's\n"
     "log"},
};

}  // namespace

std::string parseCondition(const std::string& text, Condition& condition) {
    const size_t colon = text.find(':');
    const std::string argument = colon == std::string::npos ? "" : text.substr(colon + 1);
    for (const ConditionKind& kind : kKinds) {
        if (text.substr(0, colon) != kind.name) continue;
        const bool isGiven = colon != std::string::npos;
        if (kind.argument == Argument::None && isGiven)
            return std::string("`") + kind.name + "` has no argument";
        if (kind.argument == Argument::Required && argument.empty()) return text + ": expected " + kind.forms;
        const std::string problem = kind.parse(argument, condition);
        return problem.empty() ? "" : std::string(text).append(": ").append(problem);
    }
    return "\"" + text + "\" is not a condition. The conditions are:\n" + conditionKinds();
}

std::string conditionKinds() {
    constexpr size_t kWidth = 31;
    std::string all;
    for (const ConditionKind& kind : kKinds) {
        std::string column = kind.forms;
        for (const std::string& line : splitLines(kind.meaning)) {
            column.resize(kWidth, ' ');
            all.append(all.empty() ? "  " : "\n  ").append(column).append(line);
            column.clear();
        }
    }
    return all;
}

}  // namespace hidlaudio::host
