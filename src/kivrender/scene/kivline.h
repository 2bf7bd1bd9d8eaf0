// A straight line of a scene between two points. Lines come from the host; the library only draws them.
//
// Used for single edges, such as the intersections that a host has computed itself; runs of lines are polylines
// (kivpolyline.h). The scene takes a copy. Coordinates are in model units; ends are taken as they come.
#ifndef KIVRENDER_SCENE_KIVLINE_H
#define KIVRENDER_SCENE_KIVLINE_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/scene/kiv3dobject.h"
#include "kivrender/scene/kiv3dpoint.h"

class KIV_API KivLine : public Kiv3DObject {
public:
    // Both ends at the origin, not hidden.
    KivLine();
    KivLine(const Kiv3DPoint& from, const Kiv3DPoint& to);
    // A copy comes without shader settings; assignment and moving take them over.
    KivLine(const KivLine& other);
    KivLine(KivLine&&) noexcept = default;
    KivLine& operator=(const KivLine&) = default;
    KivLine& operator=(KivLine&&) noexcept = default;
    ~KivLine() override;

    // The two ends. No order is meant, but for swap and the comparison below.
    void setStart(const Kiv3DPoint& point);
    void setEnd(const Kiv3DPoint& point);
    Kiv3DPoint getStart() const;
    Kiv3DPoint getEnd() const;
    // Exchanges the ends.
    void swap();
    // Exact comparison of the ends, in either direction. Lines of the same direction are equal whatever their hidden
    // flags are, lines of opposite direction only if the flags agree.
    bool operator==(const KivLine& other) const;
    // Whether the two run within 10 degrees of parallel, in either direction. A line of no length is similar to all.
    bool hasSimilarDirection(const KivLine& other) const;
    // Whether line shaders leave it out.
    bool isHidden() const;
    // There is no way back.
    void hide();

private:
    Kiv3DPoint start;
    Kiv3DPoint end;
    // Drawn, until hide is called.
    bool hidden = false;
};

#endif
