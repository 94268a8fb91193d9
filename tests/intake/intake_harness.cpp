#include "intake/intake_harness.h"

#include <filesystem>

#include "vornleads/package/log_file.h"
#include "vornleads/text/datetime.h"

namespace vornleads::test {

TDateTime testNow() { return EncodeDate(2025, 6, 9) + EncodeTime(9, 0, 0, 0); }

Json leadItem(const std::string& idLead, const Json& changes) {
  int64_t numero = 0;
  for (char c : idLead) numero = (c >= '0' && c <= '9') ? numero * 10 + (c - '0') : 0;
  const std::string digits = std::to_string(numero % 10000000);
  Json item = Json::parse(
      R"({"Acabamento":"Comfortline","Cor":"Branco","CpfCnpj":"","DataIntencao":)"
      R"("10/06/2025 10:00:00","Ddd":11,"DealerNumber":"1234","Email":"","IdLead":"",)"
      R"("Modelo":"POLO","Nome":"Maria da Silva","Opcionais":"","Status":0,"Telefone":0,)"
      R"("Preco":"98500,90","Origem":"Site VW","Mensagem":"Gostaria de agendar um test drive",)"
      R"("DataIntencaoAgendamento":"11/06/2025 15:30:00","Showroom":"Loja Centro",)"
      R"("PreferenciaContato":"WhatsApp"})");
  item["CpfCnpj"] = "5" + std::string(10 - digits.size(), '0') + digits;
  item["Email"] = "cliente" + idLead + "@exemplo.com.br";
  item["IdLead"] = idLead;
  item["Telefone"] = 900000000 + numero % 10000000;
  for (const auto& [name, change] : changes.items()) item[name] = change;
  return item;
}
void IntakeTest::SetUp() {
  sandbox().reset();
  std::filesystem::remove_all(LogFile(kLogBuscaLeads, clock_).pathFor(testNow()));
  db_ = std::make_unique<TestDatabase>(true);
  connection_ = db_->connect();
  newWorker();
}
TLeadsVWMetodosClass& IntakeTest::newWorker() {
  worker_ = std::make_unique<TLeadsVWMetodosClass>(aplicacao_, *connection_);
  worker_->IntegraLeadsVW = bridge();
  worker_->setClock(clock_);
  worker_->setPause(host_);
  worker_->setRunControl(host_);
  return *worker_;
}
std::string IntakeTest::logText() const {
  const auto path = LogFile(kLogBuscaLeads, clock_).pathFor(clock_->now());
  return std::filesystem::exists(path) ? readFile(path) : "";
}
Strings IntakeTest::confirmedLeads() const {
  Strings confirmed;
  for (const auto& lead : sandbox().leads())
    if (lead["confirmed"].get<bool>()) confirmed.push_back(lead["IdLead"].get<std::string>());
  return confirmed;
}

}  // namespace vornleads::test
