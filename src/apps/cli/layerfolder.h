// The folder that the layers of a picture go to as PNG files, one each.
#ifndef APPS_CLI_LAYERFOLDER_H
#define APPS_CLI_LAYERFOLDER_H

#include "apps/cli/clihost.h"
#include "apps/cli/outputfile.h"
#include "apps/common/openraster.h"

#include <memory>
#include <string>
#include <vector>

class LayerFolder {
public:
    // The folder is made unless it is there; the one above it must be. Throws std::runtime_error for a place that can't
    // be written to. names: of the layers.
    LayerFolder(const std::string& folderName, const std::vector<std::string>& names);
    // Takes back what has not been put in place, the folder included.
    ~LayerFolder();
    LayerFolder(const LayerFolder&) = delete;
    LayerFolder& operator=(const LayerFolder&) = delete;

    // Of the same names, in any order, and of groups, whose files are named GROUP-NUMBER-NAME. Throws
    // std::runtime_error with the reason.
    void write(const std::vector<PictureLayer>& layers, CliHost& host);
    // Puts all files in their places.
    void finish();

private:
    OutputFile& fileFor(const PictureLayer& layer, std::size_t number);

    std::string folder;
    bool isNew = false;
    std::vector<std::unique_ptr<OutputFile>> files;
};

#endif
