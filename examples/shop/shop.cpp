// A client module with a class that fails in the middle of an operation.
#include "shop/till.h"

#include <tessel/base/error.h>
#include <tessel/object/registration.h>

#include <map>

namespace {

class TillImpl : public Face<Shop::Till> {
public:
    void Stock(const WideString& article, std::uint32_t pieces, std::uint32_t priceInCents) override
    {
        Shelf& shelf = shelves[article];
        shelf.pieces += pieces;
        shelf.priceInCents = priceInCents;
    }

    std::uint32_t Sell(const WideString& article, std::uint32_t pieces) override
    {
        const auto shelf = shelves.find(article);
        if (shelf == shelves.end() || shelf->second.pieces < pieces)
            throw Refusal(article);
        shelf->second.pieces -= pieces;
        return pieces * shelf->second.priceInCents;
    }

private:
    struct Shelf {
        std::uint32_t pieces = 0;
        std::uint32_t priceInCents = 0;
    };

    // What happened, for whoever has to mend it, and on top of that what the user is to read.
    static Error Refusal(const WideString& article)
    {
        Error error("out-of-stock(%s)", "shop", article);
        WideString message;
        message.Format(u"There is not enough %1 in the shop.", article);
        error.AddLayer(Error::sameCode, message, false);
        return error;
    }

    std::map<WideString, Shelf> shelves;
};

// Written out, for a factory can do more than this; where it need not, Object::ClassFactory saves the lines.
class TillFactory : public Face<Object::StaticFactory> {
public:
    void CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out) override
    {
        if (clsid == Shop::tillClass)
            out = MakeFace<Impl<TillImpl, Module>>();
    }

    void ListClasses(Object::ClassInfoList& out) override
    {
        out.push_back(Object::DescribeClass<TillImpl>(Shop::tillClass));
    }
};

const auto registration = Object::FactoryRegistration::Of<TillFactory>("shop");

} // namespace
