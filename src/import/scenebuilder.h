// The last step of an import: plain parts become objects of a scene.
#ifndef IMPORT_SCENEBUILDER_H
#define IMPORT_SCENEBUILDER_H

#include "import/importprogress.h"
#include "import/kivmodelimport.h"
#include "import/modelparts.h"

#include <vector>

namespace kivimport {

// Widens bounds by all that is drawn; positions that nothing uses don't count. An empty box has its ends swapped.
void addBounds(const ModelParts& parts, KivBox& bounds);
KivBox emptyBounds();

// Chooses model.origin and model.scale for model.bounds; see there.
void choosePlacement(KivModel& model);

// Makes the model of all parts together: moves them to their place, welds them, gives them normals, fills the scene.
// The parts are used up. model.files has one entry for each of the parts; its counts are filled in. progress is asked
// between the surfaces, and may be null; throws ImportCancelled. placedLike: see KivModelOptions.
void assembleModel(std::vector<ModelParts>& files, double creaseAngle, KivModel& model,
                   ImportProgress* progress = nullptr, const KivModel* placedLike = nullptr);

// The same where model.bounds, its placement and up are chosen already.
void fillModel(std::vector<ModelParts>& files, double creaseAngle, KivModel& model, ImportProgress* progress = nullptr);

// The paint of the number-th object that has no material: a handful of tones that sit well together on paper.
Colour defaultColour(std::size_t number);

} // namespace kivimport

#endif
