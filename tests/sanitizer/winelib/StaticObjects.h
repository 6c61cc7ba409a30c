// The static objects of one module or program, which are destroyed when it says so and not when Linux would.
#pragma once

namespace winelib {

/// Destroys them in the reverse order of their making.
__attribute__((visibility("hidden"))) void destroyStaticObjects();

} // namespace winelib
