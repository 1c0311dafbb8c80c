#include <tessel/base/error.h>
#include <tessel/object/face_ptr.h>

#include "platform/text.h"

#include <functional>

bool IsSameText(const char16_t* left, const char16_t* right) noexcept
{
    return Platform::wcscmp(left, right) == 0;
}

void ThrowCastFailure(const char16_t* iid, const char* tag)
{
    throw Error("Cast<%s>", tag, iid);
}

std::strong_ordering CompareIdentity(BaseFace* left, BaseFace* right) noexcept
{
    if (left == nullptr || right == nullptr)
        return (left != nullptr) <=> (right != nullptr);
    const FacePtr<BaseFace> first = FacePtr<BaseFace>::Adopt(left->Cast(nullptr));
    const FacePtr<BaseFace> second = FacePtr<BaseFace>::Adopt(right->Cast(nullptr));
    return std::compare_three_way{}(first.Get(), second.Get());
}
