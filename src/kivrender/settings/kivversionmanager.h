// The version that settings data were written with. There is a minor version only; data written today have 5.
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
    virtual ~KivVersionManager();

    // 0 until set.
    int getMinorVersion() const;
    void setMinorVersion(int version);

private:
    int minorVersion = 0;
};

#endif
