// Reads what is not of our own making (all formats but OBJ, and all pictures) by a program of its own: selvarin-reader,
// beside the library. A file that makes a reader crash, loop or eat memory costs one line, and one that takes it over
// finds itself without files, network and other processes; what comes back is checked as it enters.
#ifndef IMPORT_FOREIGNREADER_H
#define IMPORT_FOREIGNREADER_H

#include "import/importprogress.h"
#include "import/kivmodelimport.h"
#include "import/modelparts.h"

#include <string>
#include <vector>

namespace kivimport {

class ForeignReader {
public:
    ForeignReader(const KivModelOptions& modelOptions, ImportProgress& importProgress);

    // A path in UTF-8, its file checked. Textures are read already. Throws ImportError and ImportCancelled.
    ModelParts readModel(const std::string& path, const ReadLimits& limits) const;

    // Reads the textures of the materials, from pictures in the model's folder or where their names lead from there. A
    // picture that can't be read costs its colours and not the model, and gives a line in the warnings, as does a
    // reader that is missing. Throws ImportCancelled.
    void readTextures(ModelParts& parts, const std::string& modelFolder) const;

    // The libraries that read, with their versions. Throws ImportError.
    std::string describe() const;

private:
    const KivModelOptions& options;
    ImportProgress& progress;
};

} // namespace kivimport

#endif
