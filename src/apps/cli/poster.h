// A picture that is drawn in tiles, straight into its files.
#ifndef APPS_CLI_POSTER_H
#define APPS_CLI_POSTER_H

#include "kivrender/platform/kivtypes.h"

#include <functional>
#include <string>

class KivCamera;
class KivCommonSettings;
class KivDataManager;
class KivHostApplicationServices;
class KivRenderer;
class KivScene;
class ProgressBar;

// Throws std::runtime_error for a kind of file that can't be written row by row; name: the user's.
void checkPosterName(const std::string& name);

struct Poster {
    tagSIZE size{};
    std::int32_t tileSide = 0; // 0: by memory
    // Names the files to write, and which.
    const KivCommonSettings& settings;
};

struct PosterOutcome {
    bool isDrawn = false;
    bool isSaved = false;
    unsigned long error = 0; // of the system, of what could not be written
};

PosterOutcome drawPoster(const Poster& poster, KivRenderer& renderer, KivDataManager& stream, const KivScene& scene,
                         const KivCamera& camera, KivHostApplicationServices& host, ProgressBar& bar);

#endif
