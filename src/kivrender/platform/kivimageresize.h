// Bicubic scaling of pictures of 24 bits, by a cubic through its samples (Catmull and Rom, A Class of Local
// Interpolating Splines, 1974).
#ifndef KIVRENDER_PLATFORM_KIVIMAGERESIZE_H
#define KIVRENDER_PLATFORM_KIVIMAGERESIZE_H

class KivImage;

// Fills all of the target from all of the source. False without memory.
bool kivResizeBicubic(const KivImage& source, KivImage& target);

#endif
