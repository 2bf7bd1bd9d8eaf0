// A document of Studio that is rendered: what it says beside what the command line does.
#ifndef APPS_CLI_DOCUMENTOPTIONS_H
#define APPS_CLI_DOCUMENTOPTIONS_H

#include "apps/cli/commandline.h"

// The options of "render". Where a document is named in place of models, it stands for all options that are not given.
// Nothing is written but what the command line names: files of the document's own are left alone. Throws UsageError,
// and std::runtime_error for a document that can't be read. A language must be loaded.
RenderOptions parseRenderOrDocument(Words words);

#endif
