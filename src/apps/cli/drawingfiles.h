// The vector drawings of one view: it is rendered once, and each file is written from it.
#ifndef APPS_CLI_DRAWINGFILES_H
#define APPS_CLI_DRAWINGFILES_H

#include "apps/common/collecteddrawing.h"

#include <functional>
#include <string>

struct KivModel;
class OutputFile;

class DrawingFiles {
public:
    explicit DrawingFiles(const DrawingOptions& wanted) : options(wanted) {}

    // Renders model's view into the drawing by way of render, which answers whether it came to its end. False if there
    // is not a drawing then.
    bool collect(const KivModel& model, const std::function<bool()>& render);
    bool isCollected() const {
        return isFilled;
    }
    // Whether textures are more in it than the mean of their colours.
    bool drawsTextures() const {
        return options.areas == KivDrawingCollector::Areas::regions &&
               options.textures == KivDrawingCollector::Textures::areas;
    }
    // background: whether it is to be seen on paper. False with the last error set, or after a cancel. Throws
    // std::runtime_error where the drawing can't be put on its sheet.
    bool write(const OutputFile& output, bool background) const;

private:
    const DrawingOptions& options;
    CollectedDrawing collected;
    bool isFilled = false;
};

#endif
