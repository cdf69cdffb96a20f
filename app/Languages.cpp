#include "app/Languages.h"

namespace pastille::app {

Language LanguageOf(std::uint32_t identifier)
{
    switch (identifier) {
        case 0x040C:
        case 0x080C:
        case 0x0C0C:
        case 0x100C:
        case 0x140C:
            return {"French", "FR"};
        case 0x0407:
        case 0x0807:
        case 0x0C07:
        case 0x1007:
        case 0x1407:
            return {"German", "DE"};
        case 0x0410:
        case 0x0810:
            return {"Italian", "IT"};
        case 0x0816:
        case 0x0416:
            return {"Portuguese", "PT"};
        default:
            break;
    }
    // The low ten bits are the language, those above count its countries.
    constexpr std::uint32_t kSpanish = 0x0A;
    const std::uint32_t country = identifier >> 10;
    if ((identifier & 0x3FF) == kSpanish && country >= 1 && country <= 20)
        return {"Spanish", "ES"};
    return {"English", "EN"};
}

}  // namespace pastille::app
