// Pictures without a background: what a scene covers, and with which colour.
//
// The same scene is rendered on black and on white. The two differ by what shines through: a pixel that differs by 255
// shows nothing but the background, one that is the same on both is covered. On black a pixel holds its colours
// multiplied with their coverage, and so the reduction of antialiasing mixes them by how much of the pixel they cover;
// only the finished picture is divided by it. This holds for whatever a shader does by covering, adding or multiplying
// with grey; nothing of it needs to know of alpha.
#ifndef APPS_COMMON_COVERAGE_H
#define APPS_COMMON_COVERAGE_H

#include "kivrender/platform/kivimage.h"

#include <cstdint>
#include <memory>
#include <vector>

// All of the same size and opaque. Straight alpha: laid over any colour the result is what a render on that colour
// gives, to 2/255, mostly to 1/255. Where nothing is covered colour and alpha are 0. onPaper: the render on black with
// the paper, which gives the colours if it is there; the paper then lies on what is drawn and nowhere else. Null
// without memory.
std::unique_ptr<KivImage> pictureWithoutBackground(const KivImage& onBlack, const KivImage& onWhite,
                                                   const KivImage* onPaper = nullptr);

// The layer that makes a picture of what lies below it, to 2/255: laid over below, whose alpha counts as covered, it
// gives the target. It covers as much as `covers` says, by its alpha, and where that is not enough as little more as
// will do; without covers as little as will do. Where nothing changes by more than 1/255 it is transparent. All of one
// size. Null without memory.
std::unique_ptr<KivImage> layerBetween(const KivImage& below, const KivImage& target, const KivImage* covers = nullptr);

// A layer cut into parts that give it again when they are laid over one another: each gets as much of a pixel as it
// covers of it, by the alpha of its own picture, against the others. One part more has what none of them covers. All of
// one size. Empty without memory.
std::vector<std::unique_ptr<KivImage>> layerParts(const KivImage& layer, const std::vector<const KivImage*>& covers);

// Whether no pixel has more alpha than that.
bool isTransparent(const KivImage& picture, std::uint8_t most = 0);

// The picture laid over another one, which may have alpha itself: the "over" of Porter and Duff (1984). Of the size of
// both. Null without memory.
std::unique_ptr<KivImage> laidOver(const KivImage& above, const KivImage& below);

#endif
