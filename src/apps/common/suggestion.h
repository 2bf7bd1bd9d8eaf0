// The nearest known name to one that is not known.
#ifndef APPS_COMMON_SUGGESTION_H
#define APPS_COMMON_SUGGESTION_H

#include <string>
#include <vector>

// Case does not count. Empty if none is near: more than a third of the letters would have to change.
std::string nearestName(const std::string& name, const std::vector<std::string>& known);

// "; did you mean X?" or nothing.
std::string didYouMean(const std::string& name, const std::vector<std::string>& known);

#endif
