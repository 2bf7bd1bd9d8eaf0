// One picture's screens: what is seen of each mesh, and the dots or lines on it.
#ifndef SHADERS_HALFTONE_KIVHALFTONEDRAWING_H
#define SHADERS_HALFTONE_KIVHALFTONEDRAWING_H

#include "kivhalftonesettings.h"
#include "kivmodelledlight.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

class KivCommonSettings;
class KivMesh;
class KivTablePageSettings;

// Made with the context of the render current. size is that of the whole picture in pixels of the frame.
class KivHalftoneDrawing {
public:
    KivHalftoneDrawing(const KivCommonSettings& settings, tagSIZE size, KivModelledLight light);

    // A mesh that hides others, and is printed with those settings unless they are null; they must live as long as the
    // drawing. object: its number in the scene. False when the render was cancelled meanwhile.
    bool addMesh(const KivMesh& mesh, unsigned int object, const KivTablePageSettings* page);
    bool isEmpty() const {
        return pages.empty();
    }
    // False when the render was cancelled meanwhile.
    bool print();
    // atFront: it stays in front of what is drawn later.
    void draw(bool atFront) const;

private:
    struct Body {
        std::unique_ptr<KivShadedMesh> mesh;
        const KivTablePageSettings* page = nullptr;
        std::uint32_t color = 0;
        unsigned int object = 0;
    };

    void collect() const;
    void paint() const;

    bool isVectorial;
    KivModelledLight light;
    KivView view;
    KivSeenSurface surface;
    std::vector<Body> bodies; // the number of each on the surface is its index and one more
    std::vector<const KivTablePageSettings*> pages;
    std::vector<KivHalftoneShape> shapes;
};

#endif
