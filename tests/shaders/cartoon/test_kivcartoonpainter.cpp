// Batches in a drawing: as areas of one colour.
#include "kivcartoonpainter.h"
#include "support/glsurface.h"
#include "support/pollcost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <utility>

namespace {

// A wavy sheet of so many triangles, lit from full light to none several times over.
KivCartoonBatch waves(std::uint32_t triangles) {
    KivCartoonBatch batch;
    for (std::uint32_t i = 0; i < triangles; ++i) {
        const float x = static_cast<float>(i % 500U) / 250.0F - 1.0F;
        const float y = static_cast<float>(i / 500U % 500U) / 250.0F - 1.0F;
        for (const auto& [dx, dy] : {std::pair{0.0F, 0.0F}, {0.004F, 0.0F}, {0.0F, 0.004F}}) {
            const float light = 0.5F + 0.5F * std::sin(20.0F * (x + dx) + 9.0F * (y + dy));
            batch.front.push_back(static_cast<std::uint32_t>(batch.vertices.size()));
            batch.vertices.push_back({x + dx, y + dy, 0.0F, light, 0.0F});
        }
    }
    return batch;
}

struct Page {
    Page() {
        colors.diffuse = {0.8, 0.4, 0.2};
    }
    void draw(const KivCartoonBatch& batch) {
        KivCartoonPainter().draw(batch, colors, KivCartoonLayer::full, 1, true);
        glFinish();
    }

    GlSurface surface{64, 64};
    KivCartoonColors colors;
};

TEST(KivCartoonPainter, ADrawingOfManyTrianglesHearsACancel) {
    Page page;
    const KivCartoonBatch batch = waves(400000);
    PollCost::expectAllowed([&] { page.draw(batch); });
}

} // namespace
