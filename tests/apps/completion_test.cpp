#include "apps/cli/completion.h"

#include "../import/importtestfiles.h"
#include "apps/cli/optiontable.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

bool isInstalled(const char* shell) {
    return std::system((std::string("command -v ") + shell + " > /dev/null").c_str()) == 0;
}

} // namespace

// Every option and command stands in the rules, and the shells can read them where they are installed.
TEST(Completion, ZshAndFishKnowEveryCommandAndOption) {
    const std::string zsh = completionFor("zsh");
    const std::string fish = completionFor("fish");
    EXPECT_THAT(zsh, StartsWith("#compdef selvarin\n"));
    for (const CommandInfo& command : commandTable()) {
        const std::string name(command.name);
        EXPECT_THAT(zsh, HasSubstr("\n            '" + name + ":"));
        EXPECT_THAT(fish, HasSubstr(" -n __fish_use_subcommand -f -a " + name + " -d '"));
        for (const OptionInfo& option : command.options) {
            EXPECT_THAT(zsh, HasSubstr("--" + std::string(option.name) + "["));
            EXPECT_THAT(fish, HasSubstr("'__fish_seen_subcommand_from " + name + "' -l " + std::string(option.name)));
        }
    }
    EXPECT_EQ(completionFor("ksh"), "");
}

TEST(Completion, ZshReadsItsRules) {
    if (!isInstalled("zsh")) {
        GTEST_SKIP() << "no zsh";
    }
    const TestFolder folder;
    EXPECT_EQ(std::system(("zsh -n " + folder.write("_selvarin", completionFor("zsh"))).c_str()), 0);
}

TEST(Completion, FishOffersTheChoicesOfAnOption) {
    if (!isInstalled("fish")) {
        GTEST_SKIP() << "no fish";
    }
    const TestFolder folder;
    const std::string words = "HOME=" + folder.path("") + " fish -c 'source " +
                              folder.write("selvarin.fish", completionFor("fish")) +
                              "; complete -C \"selvarin render --view is\"' > " + folder.path("reply");
    EXPECT_EQ(std::system(words.c_str()), 0);
    std::ostringstream reply;
    reply << std::ifstream(folder.path("reply")).rdbuf();
    EXPECT_THAT(reply.str(), StartsWith("iso\t"));
}
