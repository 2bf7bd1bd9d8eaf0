#include "apps/cli/renderfailure.h"

#include "apps/cli/clihost.h"
#include "apps/cli/outputfile.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"

std::string renderFailure(const OutputFile& output, bool isDrawn, const std::vector<std::string>& messages,
                          unsigned long error, CliHost& host) {
    const std::string lost = output.missing();
    const std::string& name = lost.empty() ? output.finalName() : lost;
    const std::string line = (isDrawn ? "can't write \"" : "can't render \"") + name + "\": ";
    if (!messages.empty()) {
        return line + output.inWordsOfTheUser(messages.front());
    }
    // Handles that are gone already are told of while all is well, too.
    if (error == 0 || error == kivErrorInvalidHandle) {
        return line + "nothing was drawn";
    }
    return line + kivToUtf8(kivSystemErrorText(error)) + (isDrawn ? "" : memoryPlace(error, host));
}
