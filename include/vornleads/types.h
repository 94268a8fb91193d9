// Basic value types shared by every part of VornLeads.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vornleads {

// Days since 1899-12-30 with the time of day as the fraction (0.5 is noon). Negative values
// count back from that day; the fraction still adds the time of day (-1.25 is 1899-12-29 06:00).
using TDateTime = double;

// Bytes in the boundary code page: UTF-8, or Windows-1252 when VORNLEADS_CODEPAGE=CP1252
// (see <vornleads/text/codepage.h>). Every other std::string in the API holds UTF-8.
using AnsiString = std::string;

// The leads-service bridge held by the workers: (service number, 8-bit JSON) -> 8-bit JSON.
// Empty when no bridge has been assigned.
using TIntegraLeadsVW = std::function<AnsiString(int32_t pCodigoServico, const AnsiString& JSONEnvio)>;

// The host's internal-mail sender; may be empty.
using TEnvioExternoMensagem =
    std::function<void(int32_t usuarioOrigem, int32_t usuarioDestino,
                       const std::string& assuntoMensagem, const std::string& textoMensagem)>;

}  // namespace vornleads
