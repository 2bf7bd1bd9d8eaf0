// Base of what a scene holds that can carry its own choice of shaders: meshes, lights, lines and polylines.
//
// An object keeps the names of its shaders and the settings pages that belong to them. One without any is drawn by the
// shaders of the render.
//
// Hosts set them before a render, by KivRenderer::loadDataToObject or one by one; shaders ask for their own page:
//
//     const KivPageSettings* own = object.getPageSettings(L"Outline");
//     const KivPageSettings& settings = own != nullptr ? *own : settingsOfTheScene;
#ifndef KIVRENDER_SCENE_KIV3DOBJECT_H
#define KIVRENDER_SCENE_KIV3DOBJECT_H

#include "kivrender/platform/kivexport.h"

#include <memory>
#include <string>
#include <vector>

class KivPageSettings;
template <class T> class KivShared;

class KIV_API Kiv3DObject {
public:
    Kiv3DObject();
    // Copies refer to the same pages; the last object that does so deletes them.
    Kiv3DObject(const Kiv3DObject&);
    Kiv3DObject(Kiv3DObject&&) noexcept;
    Kiv3DObject& operator=(const Kiv3DObject&);
    Kiv3DObject& operator=(Kiv3DObject&&) noexcept;
    // Deletes the pages, those excepted that another object still has or that were only lent.
    virtual ~Kiv3DObject();

    // Whether the name is that of one of the object's shaders; case matters.
    bool rendersThisShader(const wchar_t* name) const;
    // Names are copied; null counts as empty.
    void setNonCombinableShader(const wchar_t* name);
    // Appends; the same name may be there twice.
    void addCombinableShader(const wchar_t* name);
    // Appends a page, which the object owns from here on.
    void addPageSettings(const KivPageSettings* settings);
    // The index is not checked.
    const KivPageSettings* getPageSettings(int index) const;
    // The first page with that section name, or null.
    const KivPageSettings* getPageSettings(const wchar_t* name) const;
    int getNumPageSettings() const;
    unsigned int getNumCombinableShaders() const;
    // Whether the object names any shader.
    bool hasObjectSettings() const;
    // Whether a non-combinable shader draws the object; whenNoSettings is the answer for an object that names none.
    bool hasNonCombinable(bool whenNoSettings) const;
    // Forgets names and pages. The pages are not deleted: they are the caller's then.
    void deleteSettings();

private:
    friend class KivScene;

    // Appends a page that stays the giver's.
    void lendPageSettings(const KivPageSettings* settings);

    // Pages are shared among copies of an object.
    std::vector<std::shared_ptr<KivShared<const KivPageSettings>>> pageSettings;
    std::wstring nonCombinableShader;
    std::vector<std::wstring> combinableShaders;
};

#endif
