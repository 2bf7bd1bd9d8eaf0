// From cells of an arrangement to regions: cells of one look that touch along an edge are one region, and specks become
// part of what they lie in.
#ifndef KIVRENDER_LINES_REGIONS_REGIONMERGE_H
#define KIVRENDER_LINES_REGIONS_REGIONMERGE_H

#include "kivrender/lines/regions/planarmap.h"

#include <cstdint>
#include <vector>

struct MergeRules {
    double smallestArea = 0.0; // in square grid steps
    double smallestTone = 0.0; // the same among looks of one body, for all that touch together
    const std::vector<std::uint32_t>* bodyOfLook = nullptr;
};

class RegionMerge {
public:
    static constexpr std::uint32_t noLook = 0xFFFFFFFF;

    // looks holds that of each cell; noLook where nothing covers it.
    RegionMerge(const PlanarMap& planar, std::vector<std::uint32_t> looks, const MergeRules& mergeRules);
    // False when the user cancelled.
    bool run();

    // Of each cell: its region, known by the number of one of the region's cells.
    const std::vector<std::uint32_t>& regionOfCell() const {
        return regions;
    }
    std::uint32_t lookOf(std::uint32_t region) const {
        return look[region];
    }
    double areaOf(std::uint32_t region) const {
        return area[region];
    }

private:
    struct Contact;
    std::uint32_t find(std::uint32_t cell);
    void join(std::uint32_t p, std::uint32_t q);
    std::uint32_t bodyOf(std::uint32_t number) const;
    bool isOfOneBody(std::uint32_t p, std::uint32_t q) const;
    bool findIslands();
    bool mayJoin(std::uint32_t speck, std::uint32_t neighbour) const;
    bool joinEqual();
    bool listContacts(std::vector<Contact>& contacts);
    bool joinSpecks(bool* changed);

    const PlanarMap& map;
    MergeRules rules;
    std::vector<std::uint32_t> regions; // the way to the region's number
    std::vector<std::uint32_t> look;    // of the regions, as the next
    std::vector<double> area;
    std::vector<std::uint32_t> islands; // of each region, the number of one of the island's
    std::vector<double> islandArea;
};

#endif
