// Lists whose members know what points at them, in a field `link`, and so leave without a search.
#pragma once

namespace Xml {

template <class Member>
void PutFirst(Member*& first, Member& member) noexcept
{
    member.next = first;
    member.link = &first;
    if (first != nullptr)
        first->link = &member.next;
    first = &member;
}

template <class Member>
void TakeOut(Member& member) noexcept
{
    *member.link = member.next;
    if (member.next != nullptr)
        member.next->link = member.link;
}

} // namespace Xml
