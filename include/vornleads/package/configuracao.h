// The configuration file ".\VornLeadsVW.ini" and the built-in endpoint.
//
// AcessaINI returns the built-in endpoint of the leads service whatever key is asked, and never
// reads the file: a recorded endpoint does not survive a restart, on purpose. The built-in
// endpoint is the environment variable VORNLEADS_ENDPOINT when it is set and not empty at the
// first call, else the build setting VORNLEADS_ENDPOINT.
//
// GravaINI writes key=valor in section [Config] of VornLeadsVW.ini in the process's current
// directory (not the host directory), keeping every other section and key already in the file;
// an existing key is matched without regard to case and replaced in place. The file is UTF-8
// with CRLF line breaks. Line breaks inside the key or value become blanks, so that one call
// writes one entry. Returns true when the file was written, false on any failure (missing or
// read-only directory, unreadable file); never raises.
#pragma once

#include <string>

namespace vornleads {

std::string AcessaINI(const std::string& chave);
bool GravaINI(const std::string& chave, const std::string& valor);

}  // namespace vornleads
