// The default stream asks every loaded shader for its part, and so stands above the rest of KivDataManager.
#include "kivrender/settings/kivdatamanager.h"
#include "kivrender/settings/kivstreamhead.h"
#include "kivrender/shader/kivshader.h"

void KivDataManager::setDefault() {
    if (!setSaving()) {
        return;
    }
    kivWriteStreamHead(*this, {{}, L"Cartoon", {}});
    for (KivShader* each = KivShader::getFirstShader(); each != nullptr; each = KivShader::getNextShader()) {
        each->addRef();
        each->saveData(this, nullptr);
        each->release();
    }
    kivWriteStreamEnd(*this);
    setMinorVersion(kivCurrentMinorVersion);
}
