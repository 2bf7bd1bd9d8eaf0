// The outline shader: ink lines along silhouettes, borders and creases, and the scene's own lines and points.
//
// Lines are found per mesh (kivoutlineedges.h), joined to long chains, tested along their middle against the depth
// buffer that the base shader left, and drawn as bands of constant width in the plane of the picture. The depth buffer
// holds the surfaces pushed back by the channel's polygon offset, so that a line on a surface passes and a line behind
// it does not. Where no base shader lays the depth of a mesh, this shader does, so that lines alone make a drawing with
// hidden lines removed.
//
// In a render the depth buffer is only read. In a preview, which draws the lines before the surfaces, the lines are
// drawn at the very front and kept there by the depth test.
//
// With the vector flag the lines go out as OpenGL lines in space, hidden ones included: the vector page sorts them
// behind the surfaces.
#ifndef SHADERS_OUTLINE_KIVOUTLINESHADER_H
#define SHADERS_OUTLINE_KIVOUTLINESHADER_H

#include "kivoutlinesettings.h"
#include "kivrender/shader/kivcombinableshader.h"
#include "kivshaderpage.h"

#include <memory>
#include <string>
#include <vector>

class KivOutlineShader : public KivCombinableShader {
public:
    explicit KivOutlineShader(HINSTANCE pluginModule);
    KivOutlineShader(const KivOutlineShader&) = delete;
    KivOutlineShader& operator=(const KivOutlineShader&) = delete;
    ~KivOutlineShader() override;

    void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera, KivScene* scene,
                tagSIZE size, KivShaderCommunication& communication, bool named) override;
    void loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) override;
    const wchar_t* getName() const override;
    void reservedSlot() override;
    HBITMAP getPreviewBitmap() override;
    const wchar_t* getTag() const override;
    bool loadDocData(KivDataManager* manager) override;
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg* parent) override;
    // What the bar reserves for a combinable shader: four for each mesh, one for each polyline, and four.
    unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings& settings) override;
    bool saveDefaultData(KivDataManager* manager) override;
    void loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) override;
    void preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) override;
    int getNumPages() override;
    // The pointers are KivTablePageSettings that the host deletes.
    bool loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) override;

    // True for a mesh that has no settings of its own and for one that names this shader.
    bool rendersMesh(const KivMesh* mesh) override;

private:
    friend struct KivTestAccess;

    KivOutlineLook lookOf(const Kiv3DObject& object) const;

    KivTablePageSettings renderSettings; // of the render that runs
    std::vector<std::unique_ptr<KivShaderPage>> ownPages;
};

#endif
