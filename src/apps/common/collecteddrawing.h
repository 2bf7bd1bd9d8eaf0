// The vector drawing of one view, from which files of any format are written.
#ifndef APPS_COMMON_COLLECTEDDRAWING_H
#define APPS_COMMON_COLLECTEDDRAWING_H

#include "apps/common/drawingoptions.h"
#include "kivrender/lines/kivvectordrawing.h"

#include <functional>
#include <string>
#include <vector>

struct KivModel;

struct CollectedDrawing {
    KivVectorDrawing drawing;
    double formatUnit = 1.0; // millimetres in a unit of the model, by its format

    // Renders a view of the model into the drawing by way of render, which answers whether it came to its end. names:
    // of the meshes that are rendered, in their order. False if there is no drawing then.
    bool collect(const KivModel& model, const std::vector<std::wstring>& names, const DrawingOptions& options,
                 const std::function<bool()>& render);

    // The sheet to write on. background: whether it is to be seen on paper too.
    KivSheet sheetFor(const DrawingOptions& options, bool background) const;
};

#endif
