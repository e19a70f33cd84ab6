#pragma once

#include "VUSL/Support/RollingFileLogOutlet.h"

// A file outlet whose archives are named after the moment of rolling, the oldest of which are
// deleted.
class RollingDateFileLogOutlet : public RollingFileLogOutlet {
 public:
  using RollingFileLogOutlet::RollingFileLogOutlet;

 protected:
  // Moves the file to its archive and deletes the oldest archives, by the time of their last
  // writing, so that room is left for one more below the limit. `index` has no meaning here.
  // Throws `Exception` if the file cannot be moved, or naming every archive that could not be
  // deleted.
  void roll(const vusl::string_t& path, unsigned int index) override;
};
