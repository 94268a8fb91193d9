// cpp-httplib as Debian builds it: the compiled library has TLS, zlib and brotli support, and
// those switches change the layout of its Request and Client classes, so every user of the
// library must see the same switches. Include <httplib.h> only through this header.
#pragma once

#ifndef CPPHTTPLIB_OPENSSL_SUPPORT
#define CPPHTTPLIB_OPENSSL_SUPPORT 1
#endif
#ifndef CPPHTTPLIB_ZLIB_SUPPORT
#define CPPHTTPLIB_ZLIB_SUPPORT 1
#endif
#ifndef CPPHTTPLIB_BROTLI_SUPPORT
#define CPPHTTPLIB_BROTLI_SUPPORT 1
#endif

#include <httplib.h>
