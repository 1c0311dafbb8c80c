// What leaves a shared object and what does not. Both are attributes and not only compiler flags: a host
// built without -fvisibility=hidden would otherwise lend its copies to every module that it loads.
#pragma once

#define TESSEL_API __attribute__((visibility("default")))
#define TESSEL_HIDDEN __attribute__((visibility("hidden")))
