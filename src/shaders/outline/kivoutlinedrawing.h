// The lines of the outline shader: bands of constant width.
#ifndef SHADERS_OUTLINE_KIVOUTLINEDRAWING_H
#define SHADERS_OUTLINE_KIVOUTLINEDRAWING_H

#include "kivlinedrawing.h"
#include "kivoutlinestroke.h"

#include <cstdint>
#include <map>

class KivOutlineDrawing final : public KivLineDrawing {
public:
    using KivLineDrawing::KivLineDrawing;

protected:
    KivLineLook lookOf(const KivTablePageSettings& page) const override;
    bool takePath(const Job& job, const KivLinePath& path) override;
    void takePoint(const Job& job, const KivLinePoint& point) override;
    void drawPaths() const override;

private:
    std::map<std::uint32_t, KivStrokeMesh> strokes; // by colour
};

#endif
