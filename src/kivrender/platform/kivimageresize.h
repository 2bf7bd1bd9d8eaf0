// Bicubic scaling of pictures of 24 bits.
#ifndef KIVRENDER_PLATFORM_KIVIMAGERESIZE_H
#define KIVRENDER_PLATFORM_KIVIMAGERESIZE_H

class KivImage;

// Fills all of the target from all of the source. False without memory.
bool kivResizeBicubic(const KivImage& source, KivImage& target);

#endif
