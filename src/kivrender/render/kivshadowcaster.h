// Which meshes cast shadows, in pictures and in drawings.
#ifndef KIVRENDER_RENDER_KIVSHADOWCASTER_H
#define KIVRENDER_RENDER_KIVSHADOWCASTER_H

class KivCamera;
class KivCommonSettings;
class KivMesh;

// Of those that are drawn: what is not mostly seen through, and not small.
bool kivCastsShadow(KivMesh& mesh, const KivCamera& camera, const KivCommonSettings& settings);

#endif
