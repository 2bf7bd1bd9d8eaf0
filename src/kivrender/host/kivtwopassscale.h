// Resizes a picture of 32-bit pixels in two passes, first every row, then every column (Catmull and Smith, 3-D
// Transformations of Images in Scanline Order, 1980), each output value a weighted mean of the input around it, by a
// list of contributions (Schumacher, General Filtered Image Rescaling, in Graphics Gems III, 1992). The loops run on
// all processors; the result does not depend on how many there are.
#ifndef KIVRENDER_HOST_KIVTWOPASSSCALE_H
#define KIVRENDER_HOST_KIVTWOPASSSCALE_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

class KivLineResampler;

// A filter of a resampler: the weight of a source at a distance from the centre, in source pixels.
class KIV_API CGenericFilter {
public:
    explicit CGenericFilter(double filterWidth) : width(filterWidth) {}
    CGenericFilter(const CGenericFilter&) = default;
    CGenericFilter& operator=(const CGenericFilter&) = default;
    virtual ~CGenericFilter();

    virtual double filterValue(double x) = 0;
    // Beyond this distance the weight is 0.
    double getWidth() const {
        return width;
    }

protected:
    double width;
};

// A tent of that width to each side.
class KIV_API CBilinearFilter : public CGenericFilter {
public:
    explicit CBilinearFilter(double filterWidth) : CGenericFilter(filterWidth) {}

    double filterValue(double x) override;
};

// The weights of one pass.
struct LineContribution {
    struct Row {
        const double* weights; // windowSize of them and a closing 0
        int left;              // first and last source index
        int right;
    };

    std::vector<Row> rows;       // one for each output position
    unsigned int windowSize = 0; // the most sources that one position is meant to have
    unsigned int lineLength = 0; // output positions
    std::vector<double> table;   // where the weights lie
};

// Memory for pictures, straight from the system. Null without memory.
KIV_API std::uint32_t* kivAllocatePixels(std::size_t count);
// What scale returned, with the same count; null is allowed.
KIV_API void kivFreePixels(std::uint32_t* pixels, std::size_t count);
// For tests: the number of allocations that still succeed, negative for no limit.
KIV_API void kivLimitPixelAllocations(int count);

template <class Filter> class C2PassScale {
public:
    // Gets a percentage and returns whether to go on.
    using Callback = bool(std::uint8_t percent);

    explicit C2PassScale(Callback* callback = nullptr) : progressCallback(callback) {}
    C2PassScale(const C2PassScale&) = default;
    C2PassScale& operator=(const C2PassScale&) = default;
    virtual ~C2PassScale() = default;

    // A new picture of destWidth * destHeight pixels that the caller releases with kivFreePixels, or null without
    // memory, for a size of 0 and after a false from the callback. Channels lie in the low 24 bits of a pixel; the top
    // byte becomes 0, unless both sizes are equal: then the pixels are copied as they are.
    std::uint32_t* scale(const std::uint32_t* source, unsigned int sourceWidth, unsigned int sourceHeight,
                         unsigned int destWidth, unsigned int destHeight);

    // Copies count rows of the source from first on, side by side. False ends the scaling.
    using RowReader = std::function<bool(unsigned int first, unsigned int count, std::uint32_t* rows)>;
    // The same for a source that is read in bands, from its first row to its last; rows between two bands may be read
    // twice. Takes memory for a band and the new picture. The callback is not asked. Null also if a band can't be read.
    std::uint32_t* scale(const RowReader& read, unsigned int sourceWidth, unsigned int sourceHeight,
                         unsigned int destWidth, unsigned int destHeight);

    // Pixels count as areas, and what is in the picture keeps its place in it. Unless told, they count as points, with
    // the first of one picture upon the first of the other: what is reduced moves by up to half of a new pixel.
    void setCentred(bool centred) {
        isCentred = centred;
    }

    // True after the callback asked to stop.
    bool isCanceled() const {
        return canceled;
    }

private:
    std::uint32_t* scaleInPasses(const KivLineResampler& horizontal, const KivLineResampler& vertical,
                                 const std::uint32_t* source, unsigned int sourceWidth, unsigned int sourceHeight);
    static LineContribution calculateContributions(unsigned int lineLength, unsigned int sourceLength, double scale,
                                                   bool centred = false);
    KivLineResampler resampler(unsigned int length, unsigned int sourceLength) const;
    bool goOn(unsigned int line, unsigned int lines, int base);

    Callback* progressCallback;
    bool canceled = false;
    bool isCentred = false;
};

extern template class KIV_API C2PassScale<CBilinearFilter>;

#endif
