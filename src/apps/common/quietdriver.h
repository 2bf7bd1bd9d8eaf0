// The driver's own words on standard error.
#ifndef APPS_COMMON_QUIETDRIVER_H
#define APPS_COMMON_QUIETDRIVER_H

// What the driver warns of while it looks for a way to draw is not a message for users: what comes of it is told by us.
// Whoever wants to read it sets EGL_LOG_LEVEL. To be called before there are threads.
void quietDriver();

#endif
