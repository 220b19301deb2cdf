#include "poll_hooks.h"

namespace qel {
PollHooks Hooks;
}  // namespace qel
