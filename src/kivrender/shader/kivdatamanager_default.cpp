// The default stream asks every loaded shader for its part, and so stands above the rest of KivDataManager.
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/shader/kivshader.h"

void KivDataManager::setDefault() {
    if (!setSaving()) {
        return;
    }
    saveString(L"Style:");
    saveCurrentVaried(false);
    saveString(L"NonCombinableShader:Cartoon");
    saveCurrentVaried(false);
    saveString(L"CombinableShader:");
    saveCurrentVaried(false);
    for (KivShader* each = KivShader::getFirstShader(); each != nullptr; each = KivShader::getNextShader()) {
        each->addRef();
        each->saveData(this, nullptr);
        each->release();
    }
    saveString(L"End Morvane");
    saveCurrentVaried(false);
    setMinorVersion(kivCurrentMinorVersion);
}
