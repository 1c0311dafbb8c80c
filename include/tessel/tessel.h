// All of the system, for hosts.
#pragma once

#include <tessel/base/binary.h>
#include <tessel/base/error.h>
#include <tessel/base/resource.h>
#include <tessel/base/string.h>
#include <tessel/base/utf8.h>
#include <tessel/module.h>
#include <tessel/nls/language.h>
#include <tessel/object/cleanup.h>
#include <tessel/object/face_ptr.h>
#include <tessel/object/global.h>
#include <tessel/object/impl.h>
#include <tessel/object/library.h>
#include <tessel/object/manager.h>
#include <tessel/object/registration.h>
#include <tessel/object/system.h>
