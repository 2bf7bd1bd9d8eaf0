#include "apps/cli/documentoptions.h"

#include "apps/cli/outputfile.h"
#include "apps/document/documentfile.h"
#include "apps/document/documentvalues.h"
#include "kivrender/platform/kivtext.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <stdexcept>

namespace {

std::string numberText(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

// Adds options of the document to those that the command line leaves open, in the words of the command line.
class DocumentWords {
public:
    DocumentWords(const StudioState& document, Words& all) : state(document), words(all) {}

    void merge() {
        const KivCommonSettings& options = state.options;
        if (options.getCustomSize()) {
            add("size", std::to_string(options.getResolution().cx) + "x" + std::to_string(options.getResolution().cy));
        }
        add("antialias", std::to_string(options.getAntialias()));
        add("ambient", colourJson(options.getAmbientLight()).toString());
        add("offset", numberText(options.getPolygonOffset()));
        addSwitch("shadows", options.doShadows());
        addSwitch("transparency", options.doTransparencies() || state.shown.hasGhosts());
        if (state.upAxis != 0) {
            add("up-axis", std::string(1, static_cast<char>(state.upAxis)));
        }
        const std::vector<std::string> outputs = words.all("output");
        if (!std::all_of(outputs.begin(), outputs.end(), isDrawingName)) {
            addText("paper", options.getPaperImage());
            mergeBackground(outputs);
        } else {
            add("background", colourJson(options.getBackgroundColor()).toString());
        }
    }

private:
    // Pictures that can't be transparent get the colour.
    void mergeBackground(const std::vector<std::string>& outputs) {
        const bool canBeBare = std::all_of(outputs.begin(), outputs.end(), [](const std::string& name) {
            return name == "-" || isDrawingName(name) || keepsTransparency(name);
        });
        if (state.withoutBackground && canBeBare && !words.has("background-image")) {
            add("background", "none");
            return;
        }
        add("background", colourJson(state.options.getBackgroundColor()).toString());
        if (words.value("background") != "none") {
            addText("background-image", state.options.getBackgroundImage());
        }
    }

    void add(const char* option, const std::string& value) {
        words.options.try_emplace(option, std::vector<std::string>{value});
    }
    void addSwitch(const char* option, bool isOn) {
        if (isOn) {
            add(option, "");
        }
    }
    void addText(const char* option, const std::wstring& text) {
        if (!text.empty()) {
            add(option, kivToUtf8(text));
        }
    }

    const StudioState& state;
    Words& words;
};

std::shared_ptr<const StudioState> readDocument(const std::string& file) {
    const auto state = std::make_shared<StudioState>();
    std::wstring why;
    if (!loadStudioDocument(kivFromUtf8(file), state.get(), &why)) {
        throw std::runtime_error(kivToUtf8(why));
    }
    return state;
}

// What a document can't do.
void checkDocument(const Words& words) {
    if (words.arguments.size() > 1) {
        throw UsageError("\"" + words.arguments.front() +
                         "\" is a document and stands alone: render others by commands of "
                         "their own");
    }
    if (words.has("set") && !words.has("style") && !words.has("base") && !words.has("add")) {
        throw UsageError("--set changes a look of --style, --base or --add; the document has one of its own");
    }
    const std::vector<std::string> outputs = words.all("output");
    if (words.has("layers") || std::any_of(outputs.begin(), outputs.end(), isLayeredName)) {
        throw UsageError("a document's picture in layers is saved by Selvarin Studio");
    }
}

bool hasView(const RenderOptions& options) {
    return options.eye || options.target || options.up || options.fov || options.ortho || options.view;
}

} // namespace

RenderOptions parseRenderOrDocument(Words words) {
    const auto isDocument = [](const std::string& file) { return isDocumentName(kivFromUtf8(file)); };
    if (std::none_of(words.arguments.begin(), words.arguments.end(), isDocument)) {
        return parseRenderOptions(words);
    }
    checkDocument(words);
    const std::shared_ptr<const StudioState> document = readDocument(words.arguments.front());
    const bool hasBackground = words.has("background");
    DocumentWords(*document, words).merge();
    RenderOptions options = parseRenderOptions(words);
    options.document = document;
    options.backgroundChosen = options.backgroundChosen && hasBackground;
    options.documentLook = !words.has("style") && !options.baseChosen && !options.addChosen;
    options.documentView = !hasView(options);
    if (givenDrawingOption(words).empty()) {
        options.drawing = document->drawing;
    }
    return options;
}
