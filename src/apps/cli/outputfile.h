// Where a picture goes: checked before the work begins, written under another name, and moved into place at the end, so
// that a cancelled or failed render leaves the old file as it was.
#ifndef APPS_CLI_OUTPUTFILE_H
#define APPS_CLI_OUTPUTFILE_H

#include "apps/common/leftovers.h"
#include "kivrender/lines/write/kivdrawingwriter.h"

#include <memory>
#include <string>
#include <vector>

struct PictureFormat {
    const char* ending; // lower case
    const char* name;
};
const std::vector<PictureFormat>& pictureFormats();
// Vector drawings.
const std::vector<PictureFormat>& drawingFormats();

// Whether a name's ending is that of a drawing.
bool isDrawingName(const std::string& name);
// Pictures in layers.
const std::vector<PictureFormat>& layeredFormats();

// Whether a name's ending is that of a picture in layers.
bool isLayeredName(const std::string& name);
// Whether pictures of that ending can be transparent.
bool keepsTransparency(const std::string& name);

// The same of a picture of pixels.
bool isPictureName(const std::string& name);

// Puts the model's name into a pattern for {model}.
std::string outputName(const std::string& pattern, const std::string& model);

class OutputFile {
public:
    enum class Accepts { pictures, picturesAndDrawings, films };

    // "-" is standard output. Throws UsageError for an ending that can't be written and std::runtime_error for a place
    // that can't be written to. Further pictures beside it are expected, one for each mark, which stands before the
    // ending: "_depth" goes with a.png as a_depth.png.
    explicit OutputFile(const std::string& name, const std::vector<std::string>& companionMarks = {},
                        Accepts accepted = Accepts::pictures);
    // Removes what has not been put in place.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& finalName() const {
        return name;
    }
    bool isDrawing() const {
        return isDrawingName(name);
    }
    bool isLayered() const {
        return isLayeredName(name);
    }
    // Of a drawing.
    KivDrawingFormat drawingFormat() const;
    bool isStream() const {
        return stream;
    }
    // Where the render is to write.
    const std::string& workName() const {
        return files.front().work;
    }
    // The first file that a render should have written and has not, by the user's name; empty for none.
    std::string missing() const;
    // A line of the library with the user's names in place of those that the render writes to.
    std::string inWordsOfTheUser(std::string line) const;
    // Moves the picture and those beside it to their names or copies it to standard output. A file that is replaced
    // leaves its permissions to the new one, a link stays a link. Throws std::runtime_error.
    void finish();

private:
    struct File {
        std::string name;   // the user's
        std::string target; // where its links lead
        std::string work;
    };

    void addFile(const std::string& fileName, const std::string& work);
    void copyToOutput() const;

    std::string name;
    std::vector<File> files; // the picture, then those beside it
    std::vector<std::unique_ptr<Leftover>> leftovers;
    bool stream = false;
};

#endif
