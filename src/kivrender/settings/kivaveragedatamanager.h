// One stream for several selected objects: lets a dialog show them at once, marks the values in which they differ, and
// afterwards gives back to the objects only what they had in common or what the user made so.
//
// No mean is ever taken. A value that all objects share stands for all of them; one that differs is varied, and the
// first object's stands in its place.
//
//     manager.buildAverageData(objects);
//     ... a dialog reads the stream, and writes it anew with a saveCurrentVaried behind each value ...
//     manager.rebuildObjectsDataFromAverageData(objects);
//
// The flags are in step with the cells as long as every cell written is followed by one saveCurrentVaried.
#ifndef KIVRENDER_SETTINGS_KIVAVERAGEDATAMANAGER_H
#define KIVRENDER_SETTINGS_KIVAVERAGEDATAMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivdatamanager.h"

#include <cstdint>
#include <cstdio>
#include <vector>

class KIV_API KivAverageDataManager : public KivDataManager {
public:
    KivAverageDataManager() = default;
    // The flags are copied, the rest is as with the base: the copy is in loading mode and stands at the beginning.
    KivAverageDataManager(const KivAverageDataManager&) = default;
    KivAverageDataManager& operator=(const KivAverageDataManager&) = default;
    ~KivAverageDataManager() override;

    void clearData() override;
    void fromOtherDataManager(const KivDataManager& other) override;

    // There is no host storage behind this stream: each returns true, stores and appends nothing.
    bool loadIntFromFile(int* value) override;
    bool loadDoubleFromFile(double* value) override;
    bool loadFloatFromFile(float* value) override;
    bool loadBoolFromFile(bool* value) override;
    bool loadCharFromFile(char* value) override;
    bool loadStringFromFile(wchar_t* value) override;
    bool loadUnsignedShortFromFile(unsigned short* value) override;
    bool loadUnsignedLongFromFile(std::uint32_t* value) override;

    // The flag of the cell that was written last; of the one that was read last; of any cell. A cell without a flag is
    // not varied.
    void saveCurrentVaried(bool flag) override;
    bool isCurrentVaried() const override;
    bool isVaried(int index) const override;

    // Replaces cells and flags by the merged ones of these managers, which stay the caller's. The first one gives the
    // number of cells and the values; a cell is varied if another manager has one in its place and that differs in type
    // or in exact value. Mode and read position stay: call setLoading before reading. Null entries are passed over.
    void buildAverageData(const std::vector<KivDataManager*>& objects);
    // Gives every cell that is not varied to all these managers: in place where they have it, else at their end. Cells
    // are never removed. Takes over the minor version of the first manager.
    void rebuildObjectsDataFromAverageData(const std::vector<KivDataManager*>& objects);

protected:
    void reportVaried(std::FILE* file, int index) const override;
    void reportVariedHeader(std::FILE* file) const override;

private:
    friend class KivStreamMark;
    friend class KivStreamMark;

    std::vector<bool> varied;
};

#endif
