// The pictures beside a render, of its depth and of its shadows, in the final size.
#ifndef KIVRENDER_HOST_KIVREDUCEDIMAGE_H
#define KIVRENDER_HOST_KIVREDUCEDIMAGE_H

#include <memory>

class KivHostApplicationServices;
class KivImage;

// The picture as the host scales it, divisor times smaller in both directions. The host's scaling gives widths that are
// multiples of 4: the picture is widened by copies of its last column until the reduced width is one, and what they
// became is cut off again, so that nothing is stretched. The picture itself where the host gives none.
std::unique_ptr<KivImage> kivReducedImage(KivHostApplicationServices& host, std::unique_ptr<KivImage> picture,
                                          int divisor);

#endif
