// Text parts in a charset that the input names: Value, Export and Import of any bytes, and a new
// Encoding and charset for what is there.
#include "fuzz/fuzz.h"
#include "tallowbrook/mime_body.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook;
  using namespace tallowbrook::fuzz;
  Input input(data, size);
  const auto encoding = static_cast<LONG>(input.number(5));
  const auto other = static_cast<LONG>(input.number(5));
  const std::u16string charset = to_wide(input.text());
  const std::u16string second = to_wide(input.text());
  const auto message = new_message();
  require(SUCCEEDED(load(message, "Content-Type: text/plain\r\n\r\nx\r\n")), "no load");
  Variant value;
  require(SUCCEEDED(message->get_Body(&value)), "no body");
  const ComPtr<IMimeBody> part = platform::query<IMimeBody>(value.pdispVal);
  (void)part->put_Charset(Variant(charset));
  (void)part->put_Encoding(Variant(encoding));
  const auto content = CISSHelper::create_with(input.rest());
  VARIANT_BOOL done = VARIANT_FALSE;
  (void)part->Import(content.get(), VARIANT_FALSE, &done);
  (void)part->put_Charset(Variant(second));
  (void)part->put_Encoding(Variant(other));
  platform::Bstr text;
  (void)part->get_Value(text.out());
  (void)part->put_Value(text.get());
  const auto target = CISSHelper::create();
  (void)part->Export(target.get(), &done);
  const std::string bytes = saved(message);
  require(SUCCEEDED(load(new_message(), bytes)), "what was saved does not load", bytes);
  return 0;
}
