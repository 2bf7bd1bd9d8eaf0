#include "apps/document/documentfile.h"

#include "apps/document/documentpaths.h"
#include "apps/document/documenttexts.h"
#include "apps/document/lookjson.h"
#include "kivrender/platform/kivsystemerror.h"
#include "kivrender/platform/kivtext.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/platform/kivwholefile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>

namespace {

// Far more than any document has: a file beyond it was not written by us.
constexpr std::size_t largestFile = 64 << 20;

// The reason why loading would not take what stands in the state; nothing where it would.
std::optional<std::wstring> whyNotLoadable(const StudioState& state) {
    const auto fits = [](const StudioLook& look) { return look.getCells().size() <= mostLookCells; };
    if (state.lights.size() > mostLights) {
        return documentText(DocumentText::tooManyLights, std::to_wstring(mostLights));
    }
    if (!fits(state.look) || std::any_of(state.objects.begin(), state.objects.end(), [&](const auto& object) {
            return !isObjectNumber(object.first) || !fits(object.second);
        })) {
        return documentText(DocumentText::tooLarge);
    }
    return std::nullopt;
}

std::wstring systemReason(int number) {
    return kivSystemErrorText(kivErrorFromErrno(number));
}

// Nothing with a line in *why. A device or a pipe may have no end: no more is read than a document may have.
std::optional<std::string> readText(const std::wstring& file, std::wstring* why) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(kivToUtf8(file).c_str(), "rbe"), std::fclose);
    if (in == nullptr) {
        *why = systemReason(errno);
        return std::nullopt;
    }
    std::string text;
    std::size_t got = 1;
    while (got > 0 && text.size() <= largestFile) {
        constexpr std::size_t piece = 1 << 16;
        const std::size_t before = text.size();
        text.resize(before + piece);
        got = std::fread(text.data() + before, 1, piece, in.get());
        text.resize(before + got);
    }
    if (std::ferror(in.get()) != 0) {
        *why = systemReason(errno);
        return std::nullopt;
    }
    if (text.size() > largestFile) {
        *why = documentText(DocumentText::tooLarge);
        return std::nullopt;
    }
    return text;
}

std::optional<Json> readObject(const std::wstring& file, std::wstring* why) {
    const std::optional<std::string> text = readText(file, why);
    if (!text) {
        return std::nullopt;
    }
    std::size_t where = 0;
    std::optional<Json> json = Json::parse(*text, &where);
    if (!json) {
        *why = documentText(DocumentText::damagedText, std::to_wstring(where));
    } else if (!json->isObject()) {
        *why = documentText(DocumentText::noDocument);
        json.reset();
    }
    return json;
}

} // namespace

bool isDocumentName(const std::wstring& file) {
    constexpr std::wstring_view ending = L".selvarin";
    return file.size() > ending.size() &&
           kivEqualNoCase(std::wstring_view(file).substr(file.size() - ending.size()), ending);
}

bool saveStudioDocument(const std::wstring& file, const StudioState& state, std::wstring* why) {
    return saveStudioDocument(file, state, state.toJson(folderOf(file)), why);
}

bool saveStudioDocument(const std::wstring& file, const StudioState& state, const Json& json, std::wstring* why) {
    std::optional<std::wstring> reason = whyNotLoadable(state);
    std::string text;
    if (!reason) {
        text = json.compact();
        if (text.size() > largestFile || json.size() > Json::mostValues) {
            reason = documentText(DocumentText::tooLarge);
        }
    }
    const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
    if (!reason && !kivWriteWholeFile(file, {first, text.size()}, true)) {
        reason = kivSystemErrorText(kivGetLastError());
    }
    if (reason) {
        *why = file + L": " + *reason;
    }
    return !reason;
}

bool loadStudioDocument(const std::wstring& file, StudioState* state, std::wstring* why) {
    std::wstring reason;
    const std::optional<Json> json = readObject(file, &reason);
    if (!json || !state->fromJson(*json, folderOf(file), &reason)) {
        *why = file + L": " + reason;
        return false;
    }
    return true;
}
