#include "kivrender/render/kivmeshwalk.h"

#include "kivrender/platform/kivglwait.h"
#include "kivrender/scene/kivmesh.h"
#include "kivrender/scene/kivprogress.h"
#include "kivrender/scene/kivscene.h"
#include "kivrender/settings/kivcommonsettings.h"
#include "kivrender/shader/kivnoncombinableshader.h"
#include "kivrender/shader/kivshaderguard.h"

#include <GL/gl.h>
#include <gl2ps.h>

#include <algorithm>
#include <utility>

void kivSetPolygonOffset(float factor, float units, bool vectorial) {
    if (factor == 0 && units == 0) {
        glDisable(GL_POLYGON_OFFSET_FILL);
        if (vectorial) {
            gl2psDisable(GL2PS_POLYGON_OFFSET_FILL);
        }
        return;
    }
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(factor, units);
    if (vectorial) {
        gl2psEnable(GL2PS_POLYGON_OFFSET_FILL);
    }
}

void kivWaitForDrawing(KivProgress* progress) {
    if (progress != nullptr) {
        kivWaitForGl([progress] { return !progress->isCancelled(); });
    }
}

KivMeshWalk::KivMeshWalk(KivScene& sceneToWalk, const KivCommonSettings& commonSettings, KivBitmapManager* target,
                         KivProgress* reporter, ShaderOf chooser)
    : scene(sceneToWalk), settings(commonSettings), surface(target), progress(reporter), shaderOf(std::move(chooser)) {}

int KivMeshWalk::chunk() const {
    return std::max(static_cast<int>(scene.numMeshes()) / 10, 1);
}

bool KivMeshWalk::isCancelled() const {
    return progress != nullptr && progress->isCancelled();
}

void KivMeshWalk::beginStep(const std::wstring& text) const {
    if (progress != nullptr) {
        progress->setText(text.c_str());
        progress->beginStep();
    }
}

void KivMeshWalk::endStep() const {
    if (progress != nullptr && !progress->isCancelled()) {
        progress->endStep();
    }
}

bool KivMeshWalk::run(const Draw& draw, int tickEvery) const {
    int done = 0;
    for (unsigned int m = 0; KivMesh* mesh = scene.getMesh(m); ++m) {
        KivNonCombinableShader* shader = shaderOf(mesh);
        if (shader != nullptr && (!settings.doTransparencies() || mesh->isOpaque())) {
            kivCallShader(*shader, [&] { draw(*shader, *mesh, static_cast<int>(m)); });
        }
        ++done;
        if (progress == nullptr) {
            continue;
        }
        if (progress->isCancelled()) {
            return false;
        }
        if (done % tickEvery != 0) {
            continue;
        }
        if (done % chunk() != 0 || shader == nullptr) {
            progress->advance(1, false);
        } else {
            shader->flushAndShow(surface, settings.doVectorial());
        }
    }
    return true;
}

bool KivMeshWalk::runOpaque(const Draw& draw, int* counter) const {
    for (unsigned int m = 0; KivMesh* mesh = scene.getMesh(m); ++m) {
        if (!mesh->isOpaque()) {
            continue;
        }
        KivNonCombinableShader* shader = shaderOf(mesh);
        if (shader != nullptr) {
            kivCallShader(*shader, [&] { draw(*shader, *mesh, static_cast<int>(m)); });
        }
        ++*counter;
        if (progress == nullptr) {
            continue;
        }
        if (progress->isCancelled()) {
            return false;
        }
        if (*counter % chunk() != 0) {
            progress->advance(1, false);
        } else if (shader != nullptr) {
            shader->flushAndShow(surface, settings.doVectorial());
        }
    }
    return true;
}
