// The vector drawings of one view: it is rendered once, and each file is written from it. For formats that hold no
// pictures it is rendered once more where textures come as pictures.
#ifndef APPS_CLI_DRAWINGFILES_H
#define APPS_CLI_DRAWINGFILES_H

#include "apps/common/collecteddrawing.h"
#include "kivrender/lines/write/kivdrawingwriter.h"

#include <functional>
#include <string>

struct KivModel;
class OutputFile;

class DrawingFiles {
public:
    explicit DrawingFiles(const DrawingOptions& wanted) : options(wanted) {}

    // Renders model's view into the drawing for a format by way of render, which answers whether it came to its end.
    // False if there is not a drawing then.
    bool collect(KivDrawingFormat format, const KivModel& model, const std::function<bool()>& render);
    bool isCollected(KivDrawingFormat format) const {
        return drawingFor(format).isFilled;
    }
    // Whether pictures of textures are wanted that files of the format can't have: they get areas.
    bool lacksPictures(KivDrawingFormat format) const {
        return wantsPictures() && !kivHoldsPictures(format);
    }
    // Whether textures are more in it than the mean of their colours.
    bool drawsTextures() const {
        return options.areas == KivDrawingCollector::Areas::regions &&
               options.textures != KivDrawingCollector::Textures::mean;
    }
    // background: whether it is to be seen on paper. False with the last error set, or after a cancel. Throws
    // std::runtime_error where the drawing can't be put on its sheet.
    bool write(const OutputFile& output, bool background) const;

private:
    struct Drawn {
        CollectedDrawing collected;
        bool isFilled = false;
    };

    bool wantsPictures() const {
        return options.areas == KivDrawingCollector::Areas::regions &&
               options.textures == KivDrawingCollector::Textures::pictures;
    }
    const Drawn& drawingFor(KivDrawingFormat format) const {
        return lacksPictures(format) ? withoutPictures : drawn;
    }

    const DrawingOptions& options;
    Drawn drawn;
    Drawn withoutPictures;
};

#endif
