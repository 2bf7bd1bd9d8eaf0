#include "apps/studio/documentfiles.h"

#include "apps/document/documentfile.h"
#include "apps/studio/studiomessage.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/platform/kivwholefile.h"
#include "qt/kivqttext.h"

namespace {

bool tell(bool isDone, const std::wstring& reason, QString* why) {
    if (!isDone) {
        *why = studioMessage(reason);
    }
    return isDone;
}

} // namespace

bool saveStudioDocument(const QString& file, const StudioState& state, QString* why) {
    std::wstring reason;
    return tell(saveStudioDocument(kivFromQt(file), state, &reason), reason, why);
}

bool saveStudioDocument(const QString& file, const StudioState& state, const Json& json, QString* why) {
    std::wstring reason;
    return tell(saveStudioDocument(kivFromQt(file), state, json, &reason), reason, why);
}

bool loadStudioDocument(const QString& file, StudioState* state, QString* why) {
    std::wstring reason;
    return tell(loadStudioDocument(kivFromQt(file), state, &reason), reason, why);
}

bool replaceFile(const QString& file, const QByteArray& bytes, QString* why) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.constData());
    const bool isWritten = kivWriteWholeFile(kivFromQt(file), {first, static_cast<std::size_t>(bytes.size())}, true);
    return tell(isWritten, kivFromQt(file) + L": " + (isWritten ? L"" : kivSystemErrorText(kivGetLastError())), why);
}
