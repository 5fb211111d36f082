#include "coding/raw_coder.h"

#include "coding/block_io.h"

namespace tallowbrook {

void CMIMECodeRaw::Decode(IStream& input, IStream& output) {
  BlockReader reader(input);
  for (auto block = reader.next(); !block.empty(); block = reader.next()) {
    write_block(output, block);
  }
}

}  // namespace tallowbrook
