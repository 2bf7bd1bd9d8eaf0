// How a camera maps space into a picture: in doubles and without OpenGL, for what is computed of lines and areas rather
// than drawn.
//
// Three coordinate systems meet here. Space: the model's units. Camera space: the model's units too, x to the right and
// y up in the picture, z the distance in front of the plane through the eye. The picture: pixels from its lower left
// corner.
//
//     const KivLineView view(camera, 1280.0, 960.0);
//     const KivVec inCamera = view.toCamera({x, y, z});
//     double from = 0.0, to = 1.0;
//     if (view.clip(inCamera, other, &from, &to)) {
//         const KivPicturePoint pixel = view.toPicture(inCamera);
//     }
//
// A plain value of some hundred bytes: copies are cheap, all operations are const and may run in many threads at once.
// Nothing allocates or throws.
#ifndef KIVRENDER_LINES_KIVLINEVIEW_H
#define KIVRENDER_LINES_KIVLINEVIEW_H

#include "kivrender/geometry/kivvec.h"
#include "kivrender/geometry/kivviewpoint.h"
#include "kivrender/platform/kivexport.h"

class KivCamera;

// A place in the picture, in pixels; halves of pixels count.
struct KivPicturePoint {
    double x = 0.0;
    double y = 0.0;
};

class KIV_API KivLineView {
public:
    // A view that sees nothing.
    KivLineView() = default;
    // A picture of that many pixels. A camera without a direction, with an empty frustum or with a number that is not
    // finite gives a view that sees nothing. An up vector that is parallel to the direction is replaced by another.
    KivLineView(const KivCamera& camera, double width, double height);

    // False where the camera can't be used: all other answers have no meaning then.
    bool seesAnything() const {
        return valid;
    }
    // Whether lines of sight meet in the eye; else they run side by side.
    bool isPerspective() const {
        return perspective;
    }
    // Of the picture, in pixels.
    double width() const {
        return pictureWidth;
    }
    double height() const {
        return pictureHeight;
    }
    // Nearer than this, in camera space, nothing is seen.
    double nearest() const {
        return nearPlane;
    }

    // From space to camera space.
    KivVec toCamera(const KivVec& point) const {
        const KivVec away = point - eye;
        return {kivDot(away, right), kivDot(away, up), kivDot(away, forward)};
    }
    // Of a point of camera space; z must be above 0 in a perspective view.
    KivPicturePoint toPicture(const KivVec& point) const {
        const double w = perspective ? nearPlane / point.z : 1.0;
        return {(point.x * w - left) * pixelsAcross, (point.y * w - bottom) * pixelsAlong};
    }
    // The point in space that is seen at a place of the picture and lies in that depth of camera space.
    KivVec toSpace(const KivPicturePoint& place, double depth) const {
        const double w = perspective ? depth / nearPlane : 1.0;
        return eye + right * ((place.x / pixelsAcross + left) * w) + up * ((place.y / pixelsAlong + bottom) * w) +
               forward * depth;
    }
    // The width of a pixel at that depth of camera space, in the model's units.
    double pixelSize(double z) const {
        return (perspective ? z / nearPlane : 1.0) / pixelsAcross;
    }
    // The eye, or the direction towards the viewer, in space.
    KivViewpoint viewpoint() const {
        return {perspective, perspective ? eye : -forward};
    }
    // A point of camera space in homogeneous coordinates of the picture: where x / z and y / z lie in it. The sight
    // line of a point, unlike its place in the picture, exists behind the eye too, and runs evenly along a segment in
    // space.
    KivVec sight(const KivVec& point) const {
        return {point.x, point.y, perspective ? point.z : 1.0};
    }
    // The part of a segment of camera space that lies inside the picture and between the near and the far plane, as
    // parameters from 0 at a to 1 at b. False if there is none.
    bool clip(const KivVec& a, const KivVec& b, double* from, double* to) const;

private:
    // The near rectangle and the planes in the model's units, then pixels in one of these, then the axes of camera
    // space.
    bool valid = false;
    bool perspective = true;
    double pictureWidth = 0.0;
    double pictureHeight = 0.0;
    double left = 0.0;
    double rightEnd = 0.0;
    double bottom = 0.0;
    double top = 0.0;
    double nearPlane = 0.0;
    double farPlane = 0.0;
    double pixelsAcross = 0.0;
    double pixelsAlong = 0.0;
    KivVec eye;
    KivVec right;
    KivVec up;
    KivVec forward;
};

#endif
