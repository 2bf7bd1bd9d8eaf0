// The camera that a user moves: it looks at a target from a distance and never rolls, so that what is up in the model
// stays up in the picture.
#ifndef APPS_DOCUMENT_STUDIOCAMERA_H
#define APPS_DOCUMENT_STUDIOCAMERA_H

#include "apps/common/framing.h"

#include <vector>

enum class StudioSide { front, back, left, right, top, bottom, threeQuarter, iso };

struct StudioCamera {
    Kiv3DPoint target{0.0, 0.0, 0.0};
    double distance = 300.0;       // from the target to the eye, scene units, above 0
    double yaw = 0.0;              // radians; 0 looks at the model's front, growing to its right side
    double pitch = 0.0;            // radians, from -pi/2 (from below) to pi/2 (from above)
    Kiv3DVector up{0.0, 1.0, 0.0}; // of the model: +y or +z
    double fov = 30.0;             // degrees, of the picture's height
    bool parallel = false;         // then the picture's height at the target is as in perspective

    ViewAxes axes() const;
    Kiv3DPoint eye() const;
    // Of what a picture shows at the target, in scene units.
    double heightAtTarget() const;

    // Turns around the target, in radians. The poles are as far as it goes.
    void orbit(double right, double upwards);
    // Moves target and eye so that what is at the target's depth follows a hand that moves by so many pixels, y down,
    // in a view of that height.
    void pan(double x, double y, double viewHeight);
    // Goes nearer by the factor (above 1) or away; what is under the place, in pixels from the view's middle with y
    // down, stays under it.
    void zoom(double factor, double x, double y, double viewHeight);
    void look(StudioSide view);
    // Moves so that all points just fit into a picture of that aspect, width / height.
    void fit(const std::vector<Kiv3DPoint>& points, double aspect);
    // Looks that way at the same target. False, with nothing changed, for a way without a length.
    bool turnTo(const Kiv3DVector& direction);
    // Takes over the direction and the place of another camera, but for its roll. The target is put at the depth of
    // the points' middle.
    void follow(const Kiv3DPoint& location, const Kiv3DVector& direction, const std::vector<Kiv3DPoint>& points);

    KivCamera toCamera(const std::vector<Kiv3DPoint>& points, double aspect) const;

    // Where a point is in a view of that size, in pixels from the top left corner. False if it is behind the eye.
    bool project(const Kiv3DPoint& point, double width, double height, double* x, double* y) const;
    // How a point moves in the scene that a hand moves by so many pixels, y down, in a view of that height.
    Kiv3DVector moved(const Kiv3DPoint& point, double x, double y, double viewHeight) const;

    bool operator==(const StudioCamera& other) const;

    // Brings whatever numbers are in the fields into range.
    void sanitize();
};

#endif
