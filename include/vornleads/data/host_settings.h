// The host's process-wide settings that the data layer reads: the data-access technology and,
// in remote mode, the host's application-server connection.
//
// When VarTecnologia is "DATASNAP" the host works through its application server: update
// statements and the transactions that data-layer routines own (record numbering) are sent to
// VarConexaoSC instead of the local connection. Queries still read the local connection.
// Any other text (the empty default included) means local mode.
//
// The host's remote dataset provider (bound under the provider name "dspDBGridKTZ") has no
// counterpart here: datasets always read through the SqlConnection they are given.
//
// Ownership: the settings hold the remote connection through a shared_ptr, so a routine that
// took a copy keeps it alive while it works even if the host replaces the settings meanwhile.
// Reading and replacing the settings is thread-safe.
#pragma once

#include <memory>
#include <string>

namespace vornleads {

// The host's remote server connection (its application-server client). Supplied by the host.
class RemoteServerConnection {
 public:
  virtual ~RemoteServerConnection() = default;
  // Runs one statement without rows on the server; false when the server refused it.
  virtual bool ExecutaDML(const std::string& sql) = 0;
  virtual void IniciaTransacao() = 0;
  virtual void ComitaTransacao() = 0;
  virtual void RollbackTransacao() = 0;
};

struct HostSettings {
  std::string VarTecnologia;    // "DATASNAP" selects remote mode
  std::string VarRemoteServer;  // the host's application server, for the host's own reference
  std::shared_ptr<RemoteServerConnection> VarConexaoSC;  // required in remote mode
};

// A copy of the current settings (local mode until the host sets them).
HostSettings hostSettings();
void setHostSettings(HostSettings settings);

// True when VarTecnologia is exactly "DATASNAP".
bool modoRemoto(const HostSettings& settings);

}  // namespace vornleads
