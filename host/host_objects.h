// The option objects of the host explorer: their classes, and how they are made and filled.
#pragma once

#include <string_view>

#include "platform/automation/late_bound.h"

namespace tallowbrook {

inline constexpr std::u16string_view kOptionDefClass = u"Bramblescope.OptionDef";
inline constexpr std::u16string_view kOptionCollectionClass = u"Bramblescope.OptionCollection";
inline constexpr std::u16string_view kOptionValueClass = u"Bramblescope.OptionValue";
inline constexpr std::u16string_view kOptionValueCollectionClass =
    u"Bramblescope.OptionValueCollection";

// The class of a ProgID, or of a class identity when the text begins with "{".
[[nodiscard]] HRESULT host_class(std::u16string_view name, CLSID* clsid);

// An object of a class of the host, in this process or another one. Throws std::bad_alloc.
[[nodiscard]] HRESULT create_host_object(std::u16string_view name,
                                         platform::ComPtr<IDispatch>& object);

}  // namespace tallowbrook
