#include "tests/fuzz/FuzzFeatures.h"

namespace pelkotest {

void noteFeature(const std::string&) {
}

}  // namespace pelkotest
