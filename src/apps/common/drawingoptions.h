// What a user says of vector drawings alone.
#ifndef APPS_COMMON_DRAWINGOPTIONS_H
#define APPS_COMMON_DRAWINGOPTIONS_H

#include "kivrender/lines/write/kivsheet.h"
#include "kivrender/render/kivdrawingcollector.h"

struct DrawingOptions {
    KivDrawingCollector::Areas areas = KivDrawingCollector::Areas::regions;
    KivDrawingCollector::Textures textures = KivDrawingCollector::Textures::areas;
    KivSheet sheet;           // its background is painted where the user wants one
    bool unitsChosen = false; // else the model's format tells
};

#endif
