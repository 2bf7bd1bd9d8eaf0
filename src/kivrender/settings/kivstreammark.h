// A place in a stream that is being written, to return to when what should have come behind it could not be written as
// a whole: readers find their values by position, so half a shader's block would shift all that follows.
#ifndef KIVRENDER_SETTINGS_KIVSTREAMMARK_H
#define KIVRENDER_SETTINGS_KIVSTREAMMARK_H

#include <cstddef>

class KivDataManager;

class KivStreamMark {
public:
    // The end of the stream. The stream outlives the mark.
    explicit KivStreamMark(KivDataManager& manager);
    // Removes what was written since.
    void returnTo();

private:
    KivDataManager& stream;
    std::size_t cells;
    std::size_t flags; // of a stream that stands for several objects
};

#endif
