// A progress object that stands between the stages of a render and the host's own for a while.
#ifndef KIVRENDER_HOST_KIVPROGRESSFILTER_H
#define KIVRENDER_HOST_KIVPROGRESSFILTER_H

class KivProgress;

// From here on kivCurrentProgress gives this object; null for the host's own again. The caller keeps it, and takes it
// out before its end.
void kivSetProgressFilter(KivProgress* filter);

#endif
