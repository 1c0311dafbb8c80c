#include "mt/multi_blocker_factory.h"

#include "mt/multi_blocker_impl.h"
#include <tessel/module.h>

namespace Mt {

void MultiBlockerFactory::CreateInstance(const Clsid& clsid, FacePtr<BaseFace>& out)
{
    if (clsid == multiBlockerClass || clsid == multiBlockerAllClass)
        out = FacePtr<MultiBlocker>(new Impl<MultiBlockerImpl, Module>(clsid == multiBlockerAllClass));
}

void MultiBlockerFactory::ListClasses(Object::ClassInfoList& out)
{
    out.push_back(Object::DescribeClass<MultiBlocker>(multiBlockerClass));
    out.push_back(Object::DescribeClass<MultiBlocker>(multiBlockerAllClass));
}

} // namespace Mt
