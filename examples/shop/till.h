// What the module shop.dll offers.
#pragma once

#include <tessel/base/string.h>
#include <tessel/object/face.h>

#include <cstdint>

namespace Shop {

struct Till : Face<> {
    static constexpr Iid iid = u"IID_Shop::Till"_iid;

    // Puts so many pieces of an article on the shelf.
    virtual void Stock(const WideString& article, std::uint32_t pieces, std::uint32_t priceInCents) = 0;
    // Takes them off again and returns what they cost, in cents. Throws "out-of-stock(%s)", tag "shop",
    // and then everything is as before.
    virtual std::uint32_t Sell(const WideString& article, std::uint32_t pieces) = 0;
};

constexpr const char16_t* tillClass = u"CID_Shop::Till";

} // namespace Shop
