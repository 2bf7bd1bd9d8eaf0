#include "apps/cli/startup.h"

#include "kivrender/host/kivlanguage.h"
#include "kivrender/shader/kivshader.h"

#include <cstdio>

Program::Program() {
    if (!kivLoadLanguage(L"en")) {
        std::fputs("selvarin: warning: the language module is missing beside the library; texts will be empty\n",
                   stderr);
    }
    if (!loader.loadShaders()) {
        std::fputs("selvarin: warning: no shaders were found in the folder \"shaders\" beside the library\n", stderr);
    }
}

Program::~Program() {
    for (unsigned long i = 0; i < KivShader::shaders(); ++i) {
        if (KivShader* shader = KivShader::getByIndex(i)) {
            shader->destroyPages(nullptr);
        }
    }
    loader.unloadShaders();
}
