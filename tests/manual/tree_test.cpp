// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "tools/manual/command_tree.h"
#include "tools/manual/man_page.h"

namespace hidlaudio::manual {
namespace {

using testing::HasSubstr;
using testing::Not;

/** A program with all that makes trouble: quotes, dots, backslashes, sets that the help hides. */
class SomeProgram : public testing::Test {
  protected:
    SomeProgram() {
        app_.fallthrough();
        app_.require_subcommand(1);
        app_.footer("Exit status:\n  0  done\n  7  it's full\n\n`prog COMMAND --help` tells more.");
        app_.add_option("--tv", text_, "The \"TV's\" folder")->type_name("DIR");
        CLI::App* group = app_.add_subcommand("group", "All of it");
        CLI::App* leaf = group->add_subcommand("leaf", "Does it: \\n, [now]");
        leaf->add_option("on|off", text_, "What to set")
            ->required()
            ->check(CLI::Range(1, 2))
            ->check(CLI::IsMember({"on", "off"}).description(""));
        leaf->add_option("FILE", texts_, "What to read");
        CLI::Option* mode = leaf->add_option("-m,--mode", mode_, "How")
                                ->type_name("MODE")
                                ->check(CLI::IsMember({"fast-one", "slow"}))
                                ->capture_default_str();
        leaf->add_flag("--quick", "Quickly")->excludes(mode);
        leaf->add_option("--secret", text_, "Not for all")->group("");
        leaf->footer(".hidden files are\nread, µ too.\n  .literal 'x' `y` ~\\z\n    deeper\nSee `prog -x`.");
        app_.add_subcommand("hidden", "Not for all")->group("");
    }

    CLI::App app_{"Does things.", "prog"};
    std::string text_;
    std::string mode_ = "slow";
    std::vector<std::string> texts_;
};

TEST_F(SomeProgram, HasAPageThatShowsItsTextAsItIs) {
    const std::string page = manPage(readCommandTree(app_), {"1", "2026-11-24", "some 1.0-2"}, ".SH FILES\n");
    for (const char* part : {
             ".TH PROG 1 \"2026-11-24\" \"some 1.0\\-2\"\n",
             ".TP\n\\fB\\-\\-tv\\fR \\fIDIR\\fR\nThe \\(dqTV\\(aqs\\(dq folder.\n",
             "\\fBprog group leaf\\fR [\\fIOPTION\\fR]\\|.\\|.\\|. \\fBon|off\\fR "
             "[\\fIFILE\\fR]\\|.\\|.\\|.\n",
             "Does it: \\en, [now].\n",
             "\\fB\\-m\\fR, \\fB\\-\\-mode\\fR \\fIMODE\\fR\nHow. Accepted: \\fBfast\\-one\\fR, "
             "\\fBslow\\fR. "
             "Default: \\fBslow\\fR. Not together\nwith \\fB\\-\\-quick\\fR.\n",
             ".PP\n\\&.hidden files are read, \\[u00B5] too.\n.RS 4\n.EX\n"
             "\\&.literal \\(aqx\\(aq \\(gay\\(ga \\(ti\\ez\n  deeper\n.EE\n.RE\n.PP\nSee \\fBprog "
             "\\-x\\fR.\n",
             ".SH EXIT STATUS\n.TP\n\\fB0\\fR\ndone\n.TP\n\\fB7\\fR\nit\\(aqs full\n.SH FILES\n",
         }) {
        EXPECT_THAT(page, HasSubstr(part));
    }
    for (const char* part : {"secret", "hidden\\fR", "tells more", "\xC2"}) {
        EXPECT_THAT(page, Not(HasSubstr(part)));
    }
}

}  // namespace
}  // namespace hidlaudio::manual
