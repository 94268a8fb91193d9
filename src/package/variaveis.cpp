#include "vornleads/package/variaveis.h"

namespace vornleads {

std::string VVersao = "2.1.7";
char cfgSc = '|';
char cfgSs = ';';
char cfgSl = '\n';
char cfgSn = '_';
int32_t cfgQr = 30;
int32_t iPbNroContato = 0;

}  // namespace vornleads
