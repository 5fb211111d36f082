// What collections cost as they grow.
#pragma once

namespace tallowbrook::bench {

// Prints the time of each step per item, at three sizes: it stays the same when the cost is linear.
// The component is loaded.
void collection_costs();

}  // namespace tallowbrook::bench
