#include "kivrender/vector/kivvectorprogress.h"

int KivVectorProgress::vectorLineStep = 0;
int KivVectorProgress::vectorStep = 0;
bool KivVectorProgress::doubledStep = false;
