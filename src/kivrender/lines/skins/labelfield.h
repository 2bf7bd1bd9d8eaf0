// The numbers of flat colours on the samples of one object, with what lies about them.
#ifndef KIVRENDER_LINES_SKINS_LABELFIELD_H
#define KIVRENDER_LINES_SKINS_LABELFIELD_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

class LabelField {
public:
    static constexpr std::uint8_t none = 0xFF;
    // So many samples around what is seen of an object get the label of what is nearest: borders reach the object's
    // edge, which does not lie on the grid.
    static constexpr int margin = 3;

    // Of the samples from (left, bottom) on, all none.
    LabelField(int left, int bottom, int width, int height)
        : x0(left), y0(bottom), columns(width), rows(height),
          labels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), none) {}

    int left() const {
        return x0;
    }
    int bottom() const {
        return y0;
    }
    int width() const {
        return columns;
    }
    int height() const {
        return rows;
    }
    // In the field's own coordinates.
    std::uint8_t& at(int x, int y) {
        return labels[indexOf(x, y)];
    }
    std::uint8_t at(int x, int y) const {
        return labels[indexOf(x, y)];
    }
    // At a place in samples of the picture; none far from the object.
    std::uint8_t labelAt(double x, double y) const;

    struct SpeckRules {
        double samples = 0.0; // what hangs together in one label over fewer is a speck
        // And so is what is no wider than this, between labels like its own: rims where two colours run into each
        // other.
        double width = 0.0;
        std::function<bool(std::uint8_t, std::uint8_t)> areAlike;
    };
    // A speck takes the label that it has most of its border with. False when the user cancelled.
    bool removeSpecks(const SpeckRules& rules);
    bool grow();

private:
    std::size_t indexOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(x);
    }
    bool removeSpecksOnce(const SpeckRules& rules, bool* changed);

    int x0;
    int y0;
    int columns;
    int rows;
    std::vector<std::uint8_t> labels;
};

#endif
