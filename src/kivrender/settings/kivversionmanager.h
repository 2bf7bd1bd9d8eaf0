// The version that settings data were written with. There is a minor version only; data written today have 5.
//
// A reader asks for it before it reads values that older data do not have. Streams, the common settings of a host and
// style files derive from it or carry it. Setting a version converts nothing.
#ifndef KIVRENDER_SETTINGS_KIVVERSIONMANAGER_H
#define KIVRENDER_SETTINGS_KIVVERSIONMANAGER_H

#include "kivrender/platform/kivexport.h"

// What every writer of a complete stream sets after the closing mark.
inline constexpr int kivCurrentMinorVersion = 5;

class KIV_API KivVersionManager {
public:
    KivVersionManager() = default;
    KivVersionManager(const KivVersionManager&) = default;
    KivVersionManager& operator=(const KivVersionManager&) = default;
    // Part of the binary interface, as all virtual operations of derived classes stand behind it.
    virtual ~KivVersionManager();

    // 0 until set.
    // The version of the data at hand.
    int getMinorVersion() const;
    void setMinorVersion(int version);

private:
    int minorVersion = 0;
};

#endif
