#pragma once

// Stands in the place of the model's header where unit tests are built for Windows: what it has to
// do with texts is done by the platform there.
