#include "kivrender/platform/kivwindow.h"

KivWindow::~KivWindow() = default;
