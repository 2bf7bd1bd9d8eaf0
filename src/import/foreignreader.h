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

    // A path in UTF-8, its file checked. Textures are averaged already. Throws ImportError and ImportCancelled.
    ModelParts readModel(const std::string& path, const ReadLimits& limits) const;

    // Fills in textureAverage and textureLoaded of the materials, by pictures in the model's folder or where their
    // names lead from there. A picture that can't be read costs its colour and not the model; one that no reader
    // stands, or a reader that is missing, gives a line in warnings. Throws ImportCancelled.
    void averageTextures(std::vector<Material>& materials, const std::string& modelFolder,
                         std::vector<std::string>& warnings) const;

    // The libraries that read, with their versions. Throws ImportError.
    std::string describe() const;

private:
    const KivModelOptions& options;
    ImportProgress& progress;
};

} // namespace kivimport

#endif
