// Triangles in which much merges, and much nearly: flat faces in pieces, holes, fans, strips, places nudged by about
// the tolerance, thin and broken triangles.
#ifndef SELVARIN_TESTS_VECTOR_TRIANGLESOURCE_H
#define SELVARIN_TESTS_VECTOR_TRIANGLESOURCE_H

#include "vector/vectortesting.h"

#include <cmath>
#include <limits>

namespace vectortest {

class TriangleSource {
public:
    explicit TriangleSource(std::uint32_t seed) : random(seed) {
        static constexpr float cells[] = {1.0F, 1.0F, 10.0F, 0.1F, 0.004F, 0.0015F, 0.0004F, 1e6F};
        cell = cells[random.below(std::size(cells))];
        nudges = random.chance(3);
        smooth = random.chance(6);
        tilts = random.chance(5);
        broken = random.chance(4);
        plane = static_cast<int>(random.below(4));
        numColours = 1 + random.below(3);
        if (random.chance(2))
            origin = 3.25F * cell;
    }

    // At least one face of up to size cells along each side.
    void fill(FeedbackPrimitiveList& triangles, std::uint32_t size) {
        const std::uint32_t faces = 1 + random.below(3);
        for (std::uint32_t face = 0; face < faces; ++face) {
            if (random.chance(5))
                addFan(triangles, 3 + random.below(2 * size));
            else
                addGrid(triangles, 1 + random.below(size), 1 + random.below(size), face);
        }
        for (FeedbackPrimitive*& each : triangles) {
            FeedbackPrimitive*& other = triangles[random.below(static_cast<std::uint32_t>(triangles.size()))];
            if (!random.chance(3))
                std::swap(each, other);
        }
    }

private:
    FeedbackVertex point(float u, float v, float offset) {
        u += origin;
        v += origin;
        FeedbackVertex made = vertex(u, v, offset);
        if (plane == 1)
            made = vertex(u, offset, v);
        if (plane == 2)
            made = vertex(offset, u, v);
        if (plane == 3)
            made = vertex(u, v, 0.5F * u - 0.25F * v + offset);
        if (tilts && random.chance(4)) {
            // Sides of a cell at about the tolerance of directions, 1.4 thousandths, and clear of it.
            static constexpr float slopes[] = {0.0004F, 0.001F, 0.0013F, 0.0015F, 0.004F};
            made.z += cell * slopes[random.below(std::size(slopes))];
        }
        if (nudges && random.chance(4)) {
            static constexpr float amounts[] = {0.0009F, -0.0009F, 0.0011F, 0.00049F, 0.001F, 1e-6F};
            (random.chance(2) ? made.x : made.y) += amounts[random.below(std::size(amounts))];
        }
        return made;
    }
    void add(FeedbackPrimitiveList& triangles, FeedbackVertex p0, FeedbackVertex p1, FeedbackVertex p2) {
        const std::uint32_t colour = random.chance(4) ? random.below(numColours) : 0;
        // One step of a float is within the tolerance of colours, two are about it, and ten are not.
        static constexpr float alphas[] = {0.5F, 0.5F, 0.5F, 0.5F + 0x1p-24F, 0.5F + 0x1p-23F, 0.5F + 10 * 0x1p-24F};
        const float alpha = random.chance(3) ? alphas[random.below(std::size(alphas))] : 0.5F;
        for (FeedbackVertex* each : {&p0, &p1, &p2}) {
            each->r = 0.25F + 0.3F * static_cast<float>(colour);
            each->g = smooth ? 0.1F * static_cast<float>(random.below(2)) : 0.3F;
            each->b = colour == 2 ? 0.7F : 0.7F + 1e-7F;
            each->a = alpha;
        }
        if (broken && random.chance(8)) {
            switch (random.below(4)) {
            case 0:
                p0.x = std::numeric_limits<float>::quiet_NaN();
                break;
            case 1:
                p1.y = std::numeric_limits<float>::quiet_NaN();
                break;
            case 2:
                p2.z = std::numeric_limits<float>::infinity();
                break;
            default:
                p2 = FeedbackVertex(p1);
                break;
            }
        }
        switch (random.below(3)) {
        case 0:
            triangles.push_back(triangle(p0, p1, p2));
            break;
        case 1:
            triangles.push_back(triangle(p1, p2, p0));
            break;
        default:
            triangles.push_back(triangle(p2, p1, p0));
            break;
        }
        triangles.back()->blend = random.chance(30);
        triangles.back()->boundary = random.chance(60);
        triangles.back()->blendSource = random.chance(60) ? 770 : 0;
        triangles.back()->blendDestination = random.chance(60) ? 771 : 0;
        triangles.back()->stipplePattern = random.chance(60) ? 7 : 0;
        triangles.back()->lineWidth = static_cast<float>(1 + random.below(2));
        if (random.chance(25))
            triangles.push_back(new FeedbackPrimitive(*triangles.back()));
    }
    void addGrid(FeedbackPrimitiveList& triangles, std::uint32_t across, std::uint32_t along, std::uint32_t face) {
        const float offset = cell * static_cast<float>(random.chance(2) ? face : 0);
        for (std::uint32_t i = 0; i < across; ++i) {
            for (std::uint32_t j = 0; j < along; ++j) {
                if (random.chance(9)) // a hole
                    continue;
                const float u = cell * static_cast<float>(i);
                const float v = cell * static_cast<float>(j);
                const auto corner = [&](float du, float dv) { return point(u + du * cell, v + dv * cell, offset); };
                if (random.chance(12)) { // one side in two pieces, which its neighbour does not have
                    add(triangles, corner(0, 0), corner(0.5F, 0), corner(0, 1));
                    add(triangles, corner(0.5F, 0), corner(1, 0), corner(0, 1));
                } else if (random.chance(2)) {
                    add(triangles, corner(0, 0), corner(1, 0), corner(0, 1));
                } else {
                    add(triangles, corner(0, 0), corner(1, 0), corner(1, 1));
                    add(triangles, corner(0, 0), corner(1, 1), corner(0, 1));
                    continue;
                }
                add(triangles, corner(1, 0), corner(1, 1), corner(0, 1));
            }
        }
    }
    void addFan(FeedbackPrimitiveList& triangles, std::uint32_t count) {
        const auto rim = [&](std::uint32_t k) {
            const float angle = 6.2831853F * static_cast<float>(k % count) / static_cast<float>(count);
            return point(2 * cell * std::cos(angle), 2 * cell * std::sin(angle), 0);
        };
        const FeedbackVertex middle = point(0, 0, 0);
        for (std::uint32_t k = 0; k < count; ++k)
            add(triangles, middle, rim(k), rim(k + 1));
    }

    Random random;
    float cell;
    float origin = 0;
    bool nudges;
    bool smooth;
    bool tilts;
    bool broken;
    int plane;
    std::uint32_t numColours;
};

} // namespace vectortest

#endif
