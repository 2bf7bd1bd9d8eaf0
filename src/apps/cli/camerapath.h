// Where a camera is at each moment of a film, from keys in a file.
#ifndef APPS_CLI_CAMERAPATH_H
#define APPS_CLI_CAMERAPATH_H

#include "apps/cli/commandline.h"

#include <optional>
#include <string>
#include <vector>

struct CameraKey {
    double time = 0.0; // seconds
    Triple eye;        // in the model's coordinates
    Triple target;
    std::optional<double> fov; // degrees
};

class CameraPath {
public:
    // One key a line: the time, the eye and the target, and perhaps the vertical field of view, with blanks or commas
    // between the numbers; # begins a comment. Times rise. path: what messages call it. Throws UsageError.
    CameraPath(const std::string& text, const std::string& path);
    // The same from a file.
    static CameraPath fromFile(const std::string& path);

    double begin() const {
        return keys.front().time;
    }
    double end() const {
        return keys.back().time;
    }
    // The keys themselves at their times, and a smooth curve through them in between; outside the nearest one.
    CameraKey at(double time) const;

private:
    std::vector<CameraKey> keys;
};

#endif
