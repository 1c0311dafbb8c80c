#include "platform/locale.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace Platform {

namespace {

struct Locale {
    std::string_view name; // language and territory as the environment spells them
    std::uint16_t id;
};

// The first row of a language is its main variety, which stands in for territories without a row.
// clang-format off
constexpr Locale locales[] = {
    {"af_ZA", 0x436},
    {"am_ET", 0x45E},
    {"ar_SA", 0x401}, {"ar_IQ", 0x801}, {"ar_EG", 0xC01}, {"ar_LY", 0x1001}, {"ar_DZ", 0x1401},
    {"ar_MA", 0x1801}, {"ar_TN", 0x1C01}, {"ar_OM", 0x2001}, {"ar_YE", 0x2401}, {"ar_SY", 0x2801},
    {"ar_JO", 0x2C01}, {"ar_LB", 0x3001}, {"ar_KW", 0x3401}, {"ar_AE", 0x3801}, {"ar_BH", 0x3C01},
    {"ar_QA", 0x4001},
    {"az_AZ", 0x42C},
    {"be_BY", 0x423},
    {"bg_BG", 0x402},
    {"bn_IN", 0x445}, {"bn_BD", 0x845},
    {"bs_BA", 0x141A},
    {"ca_ES", 0x403},
    {"cs_CZ", 0x405},
    {"cy_GB", 0x452},
    {"da_DK", 0x406},
    {"de_DE", 0x407}, {"de_CH", 0x807}, {"de_AT", 0xC07}, {"de_LU", 0x1007}, {"de_LI", 0x1407},
    {"el_GR", 0x408},
    {"en_US", 0x409}, {"en_GB", 0x809}, {"en_AU", 0xC09}, {"en_CA", 0x1009}, {"en_NZ", 0x1409},
    {"en_IE", 0x1809}, {"en_ZA", 0x1C09}, {"en_JM", 0x2009}, {"en_BZ", 0x2809}, {"en_TT", 0x2C09},
    {"en_ZW", 0x3009}, {"en_PH", 0x3409}, {"en_HK", 0x3C09}, {"en_IN", 0x4009}, {"en_MY", 0x4409},
    {"en_SG", 0x4809},
    {"es_ES", 0xC0A}, {"es_ES@tradicional", 0x40A}, {"es_MX", 0x80A}, {"es_GT", 0x100A}, {"es_CR", 0x140A},
    {"es_PA", 0x180A}, {"es_DO", 0x1C0A}, {"es_VE", 0x200A}, {"es_CO", 0x240A}, {"es_PE", 0x280A},
    {"es_AR", 0x2C0A}, {"es_EC", 0x300A}, {"es_CL", 0x340A}, {"es_UY", 0x380A}, {"es_PY", 0x3C0A},
    {"es_BO", 0x400A}, {"es_SV", 0x440A}, {"es_HN", 0x480A}, {"es_NI", 0x4C0A}, {"es_PR", 0x500A},
    {"es_US", 0x540A},
    {"et_EE", 0x425},
    {"eu_ES", 0x42D},
    {"fa_IR", 0x429},
    {"fi_FI", 0x40B},
    {"fil_PH", 0x464},
    {"fo_FO", 0x438},
    {"fr_FR", 0x40C}, {"fr_BE", 0x80C}, {"fr_CA", 0xC0C}, {"fr_CH", 0x100C}, {"fr_LU", 0x140C},
    {"fr_MC", 0x180C},
    {"fy_NL", 0x462},
    {"ga_IE", 0x83C},
    {"gl_ES", 0x456},
    {"gu_IN", 0x447},
    {"he_IL", 0x40D},
    {"iw_IL", 0x40D},
    {"hi_IN", 0x439},
    {"hr_HR", 0x41A}, {"hr_BA", 0x101A},
    {"hu_HU", 0x40E},
    {"hy_AM", 0x42B},
    {"id_ID", 0x421},
    {"in_ID", 0x421},
    {"is_IS", 0x40F},
    {"it_IT", 0x410}, {"it_CH", 0x810},
    {"ja_JP", 0x411},
    {"ka_GE", 0x437},
    {"kk_KZ", 0x43F},
    {"km_KH", 0x453},
    {"kn_IN", 0x44B},
    {"ko_KR", 0x412},
    {"lb_LU", 0x46E},
    {"lo_LA", 0x454},
    {"lt_LT", 0x427},
    {"lv_LV", 0x426},
    {"mk_MK", 0x42F},
    {"ml_IN", 0x44C},
    {"mn_MN", 0x450},
    {"mr_IN", 0x44E},
    {"ms_MY", 0x43E}, {"ms_BN", 0x83E},
    {"mt_MT", 0x43A},
    {"nb_NO", 0x414},
    {"no_NO", 0x414},
    {"ne_NP", 0x461},
    {"nl_NL", 0x413}, {"nl_BE", 0x813},
    {"nn_NO", 0x814},
    {"ny_NO", 0x814},
    {"pa_IN", 0x446},
    {"pl_PL", 0x415},
    {"pt_BR", 0x416}, {"pt_PT", 0x816},
    {"ro_RO", 0x418},
    {"ru_RU", 0x419},
    {"se_NO", 0x43B}, {"se_SE", 0x83B}, {"se_FI", 0xC3B},
    {"si_LK", 0x45B},
    {"sk_SK", 0x41B},
    {"sl_SI", 0x424},
    {"sq_AL", 0x41C},
    {"sr_RS", 0x281A}, {"sr_BA", 0x1C1A}, {"sr_ME", 0x301A},
    {"sv_SE", 0x41D}, {"sv_FI", 0x81D},
    {"sw_KE", 0x441},
    {"ta_IN", 0x449}, {"ta_LK", 0x849},
    {"te_IN", 0x44A},
    {"th_TH", 0x41E},
    {"tr_TR", 0x41F},
    {"uk_UA", 0x422},
    {"ur_PK", 0x420}, {"ur_IN", 0x820},
    {"uz_UZ", 0x443},
    {"vi_VN", 0x42A},
    {"zh_CN", 0x804}, {"zh_TW", 0x404}, {"zh_HK", 0xC04}, {"zh_SG", 0x1004}, {"zh_MO", 0x1404},
    {"zu_ZA", 0x435},
};
// clang-format on

constexpr std::uint32_t fallback = 0x409;

// The languages of the message tables, without their varieties (Chinese and Portuguese are two texts each).
constexpr std::uint16_t languagesWithTexts[] = {
    0x04, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x10, 0x11, 0x12, 0x13, 0x14, 0x16, 0x19, 0x1D, 0x1F};

constexpr std::uint32_t languageMask = 0x3FF;

const char* UsersLocale() noexcept
{
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return "";
}

} // namespace

std::uint32_t GetUserDefaultLangID() noexcept
{
    const std::string_view wanted(UsersLocale());
    const std::string_view place = wanted.substr(0, wanted.find_first_of(".@"));
    const std::string_view language = place.substr(0, place.find('_'));
    const Locale* main = nullptr;
    for (const Locale& locale : locales) {
        if (locale.name == place)
            return locale.id;
        if (!main && locale.name.substr(0, locale.name.find('_')) == language)
            main = &locale;
    }
    return main ? main->id : fallback;
}

bool IsValidLocale(std::uint32_t locale, std::uint32_t flags) noexcept
{
    const bool known = std::any_of(
        std::begin(locales), std::end(locales), [locale](const Locale& row) { return row.id == locale; });
    if (!known || (flags & LCID_INSTALLED) == 0)
        return known && (flags & LCID_SUPPORTED) != 0;
    return std::find(std::begin(languagesWithTexts), std::end(languagesWithTexts), locale & languageMask)
        != std::end(languagesWithTexts);
}

} // namespace Platform
