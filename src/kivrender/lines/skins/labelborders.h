// The borders between labels as smooth lines: marching squares for more than two values (Lorensen and Cline, Marching
// cubes, 1987; Hege et al., A generalized marching cubes algorithm based on non-binary classifications, 1997), and
// curves through what it finds.
#ifndef KIVRENDER_LINES_SKINS_LABELBORDERS_H
#define KIVRENDER_LINES_SKINS_LABELBORDERS_H

#include "kivrender/lines/kivlineview.h"
#include "kivrender/lines/skins/labelfield.h"

#include <functional>
#include <vector>

// Where the border crosses the way from a sample of the field to its neighbour to the right, or above: 0 to 1.
using LabelCrossing = std::function<double(int x, int y, bool isAbove)>;

// In samples of the picture, whose middles lie at halves. Two borders have their ends in common where three labels
// meet; a border that closes in itself ends where it begins. False when the user cancelled.
struct BorderRules {
    double evenness = 0.5;  // steps of so many samples are evened out
    double tolerance = 0.1; // how far a line may then lie from its places, in samples
};
bool findLabelBorders(const LabelField& field, const LabelCrossing& crossing, const BorderRules& rules,
                      std::vector<std::vector<KivPicturePoint>>& borders);

#endif
