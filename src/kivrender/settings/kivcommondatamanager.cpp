#include "kivrender/settings/kivcommondatamanager.h"

KivCommonDataManager::~KivCommonDataManager() = default;
