#include "vornleads/intake/totais_intake.h"

namespace vornleads {

TotaisIntake& operator+=(TotaisIntake& t, const TotaisIntake& o) {
  t.ciclos += o.ciclos;
  t.revendas += o.revendas;
  t.leadsLidos += o.leadsLidos;
  t.contatosCriados += o.contatosCriados;
  t.vinculados += o.vinculados;
  t.revisados += o.revisados;
  t.encerrados += o.encerrados;
  t.falhas += o.falhas;
  t.confirmados += o.confirmados;
  t.tentativasFalhas += o.tentativasFalhas;
  return t;
}

void ContagemLeads::iniciaCiclo() {
  ++ciclos_;
  ciclo_ = TotaisIntake{};
  ciclo_.ciclos = 1;
  ciclo_.revendas = revendas_;
}

void ContagemLeads::revendas(int32_t quantas) { revendas_ = ciclo_.revendas = quantas; }

void ContagemLeads::lido(const std::string& lead) {
  ++ciclo_.leadsLidos;
  leads_[lead].leadsLidos = 1;
}

void ContagemLeads::incluido(const std::string& lead, DesfechoLead desfecho) {
  TotaisIntake& estado = leads_[lead];
  estado.falhas = 0;
  int32_t TotaisIntake::*contagem = nullptr;
  switch (desfecho) {
    case DesfechoLead::Criado:
      contagem = &TotaisIntake::contatosCriados;
      break;
    case DesfechoLead::Vinculado:
      contagem = &TotaisIntake::vinculados;
      break;
    case DesfechoLead::Revisado:
      contagem = &TotaisIntake::revisados;
      break;
    case DesfechoLead::Encerrado:
      contagem = &TotaisIntake::encerrados;
      break;
    case DesfechoLead::Nenhum:
      return;
  }
  ++(ciclo_.*contagem);
  estado.*contagem = 1;
}

void ContagemLeads::falhou(const std::string& lead) {
  ++ciclo_.falhas;
  ++ciclo_.tentativasFalhas;
  ++tentativasFalhas_;
  leads_[lead].falhas = 1;
}

void ContagemLeads::confirmado(const std::string& lead) {
  ++ciclo_.confirmados;
  leads_[lead].confirmados = 1;
}

TotaisIntake ContagemLeads::total() const {
  TotaisIntake t;
  for (const auto& [id, lead] : leads_) t += lead;
  t.ciclos = ciclos_;
  t.revendas = revendas_;
  t.tentativasFalhas = tentativasFalhas_;
  return t;
}

}  // namespace vornleads
