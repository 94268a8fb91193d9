// The package-wide constants, writable, for the host and sibling packages. Nothing inside
// VornLeads reads them.
#pragma once

#include <cstdint>
#include <string>

namespace vornleads {

extern std::string VVersao;    // the package version, "2.1.7"
extern char cfgSc;             // '|'
extern char cfgSs;             // ';'
extern char cfgSl;             // line feed
extern char cfgSn;             // '_'
extern int32_t cfgQr;          // 30
extern int32_t iPbNroContato;  // 0

}  // namespace vornleads
