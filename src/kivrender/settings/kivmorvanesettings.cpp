#include "kivrender/settings/kivmorvanesettings.h"

KivMorvaneSettings::~KivMorvaneSettings() = default;
