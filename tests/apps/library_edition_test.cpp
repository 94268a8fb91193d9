// The library edition VornLeadsVW.dll as a host uses it: loaded with dlopen from the host
// directory and called against bin/vornleads-sandbox.
#include <dlfcn.h>

#include <functional>

#include "apps/cli.h"
#include "vornleads/error.h"
#include "vornleads/package/host_directory.h"
#include "vornleads/package/leads_library.h"

namespace vornleads::test {
namespace {

std::filesystem::path libraryFile() { return binDir() / "VornLeadsVW.dll"; }

const std::string kLeads77 =
    leadsReply(servedLead({{"DealerNumber", "1234"}, {"IdLead", "77"}, {"Nome", "Davi"}}));

// The message of the VornError `load` raises.
std::string failure(const std::function<void()>& load) {
  try {
    load();
  } catch (const VornError& error) {
    return error.what();
  }
  return "<loaded>";
}

// One sandbox for the suite: the library reads its endpoint (VORNLEADS_ENDPOINT) once per load.
class LibraryEditionTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sandbox_ = std::make_unique<SandboxProcess>();
    setenv("VORNLEADS_ENDPOINT", sandbox_->url().c_str(), 1);
  }
  static void TearDownTestSuite() {
    unsetenv("VORNLEADS_ENDPOINT");
    sandbox_.reset();
  }
  void SetUp() override {
    sandbox_->reset();
    sandbox_->addLeads(Json::parse(R"([{"IdLead":"77","DealerNumber":"1234","Nome":"Davi"}])"));
  }
  static std::unique_ptr<SandboxProcess> sandbox_;
};

std::unique_ptr<SandboxProcess> LibraryEditionTest::sandbox_;

TEST_F(LibraryEditionTest, EveryServiceNumberReachesItsOperationAndFailuresAnswer297) {
  LeadsLibrary library(libraryFile());
  const TIntegraLeadsVW integra = library.bind();
  ASSERT_TRUE(integra);
  const struct {
    int32_t servico;
    std::string request, reply;
  } calls[] = {
      {1, R"({"DNs":"1234"})", kLeads77},
      {3, R"({"DNs":"1234","Data":"01/01/2000"})", kLeads77},
      {4, R"({"DNs":"1234","Status":"0","Nome":"X"})", kLeads77},
      {5, R"({"DNs":"1234","Tabela":"LEADS"})", kLeads77},
      {2, R"({"Cpf":"1","DataAtualizacao":"","DataReagendamento":"","IdLead":77,"Status":3})",
       retorno(0, "Sucesso", "Status do lead 77 atualizado para 3")},
      {6, R"({"DealerNumber":"1234"})",
       R"({"Status":{"Codigo":0,"Descricao":"Sucesso","Versao":"1.0"},"Historico":[{"Acabamento":"","Cor":"","CpfCnpj":"","DataIntencao":"","Ddd":0,"Email":"","IdLead":77,"Modelo":"","Nome":"Davi","Opcionais":"","Status":3,"Telefone":0,"Preco":"","Origem":"","Mensagem":"","DataIntencaoAgendamento":"","Showroom":"","PreferenciaContato":""}]})"},
  };
  for (const auto& call : calls) EXPECT_EQ(integra(call.servico, call.request), call.reply);
  EXPECT_EQ(sandbox_->updates().size(), 1u);
  const Json novos = Json::parse(integra(7, R"({"DataHora":0})"));
  EXPECT_EQ(novos["Status"]["Codigo"], 0);
  ASSERT_EQ(novos["Novos"].size(), 1u) << novos.dump();
  EXPECT_EQ(novos["Novos"][0]["IdLead"], 77);
  for (int32_t servico : {0, 8, -1}) {
    EXPECT_EQ(integra(servico, "{}"),
              R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Serviço )" +
                  std::to_string(servico) +
                  R"x( desconhecido em IntegraLeadsVW (os serviços vão de 1 a 7)"}})x");
  }
  sandbox_->fault(Json::parse(R"({"operation":"BuscaNovosLeads","mode":"soapfault",
      "descricao":"Sem \"acesso\""})"));
  EXPECT_EQ(integra(7, "{}"),
            R"({"Status":{"Versao":"1.0","Codigo":297,"Descricao":"Sem \"acesso\""}})");
}

TEST_F(LibraryEditionTest, CEntryTakesANullRequestAsEmptyAndHidesEverythingElse) {
  LeadsLibrary keepLoaded(libraryFile());
  void* handle = dlopen(libraryFile().c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(handle, nullptr);
  auto integra = reinterpret_cast<char* (*)(int32_t, const char*)>(dlsym(handle, "IntegraLeadsVW"));
  auto libera = reinterpret_cast<void (*)(char*)>(dlsym(handle, "IntegraLeadsVW_Libera"));
  ASSERT_TRUE(integra && libera);
  char* resposta = integra(1, nullptr);
  ASSERT_NE(resposta, nullptr);
  EXPECT_STREQ(resposta, R"({"Status":{"Codigo":200,"Descricao":"Parâmetros inválidos: JSON )"
                         R"(malformado na posição 1","Versao":"1.0"},"Leads":[]})");
  libera(resposta);
  libera(nullptr);
  EXPECT_EQ(dlsym(handle,
                  "_ZN9vornleads10DLLMsgJSONERKNSt7__cxx1112basic_stringIcSt11char_"
                  "traitsIcESaIcEEEi"),
            nullptr);
  dlclose(handle);
}

TEST(LeadsLibrary, FindsTheLibraryInTheHostDirectoryAndRefusesOtherFiles) {
  TempDir dir("library-home");
  const std::string file = (dir / "VornLeadsVW.dll").string();
  const std::string cannot =
      "Não foi possível carregar a biblioteca \"" + file + "\": " + file + ": ";
  setHostDirectory(dir.path());
  EXPECT_FALSE(bibliotecaPresente());
  writeFile(file, "not a library");
  EXPECT_EQ(failure([&] { LeadsLibrary text(file); }).rfind(cannot, 0), 0u);
  Dl_info info{};  // a real shared library without the entries
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&dlopen), &info), 0);
  const std::string other = failure([&] { LeadsLibrary other(info.dli_fname); });
  EXPECT_EQ(
      other.rfind(
          "A biblioteca \"" + std::string(info.dli_fname) + "\" não exporta IntegraLeadsVW: ", 0),
      0u)
      << other;
  EXPECT_NE(other.find("undefined symbol: IntegraLeadsVW"), std::string::npos) << other;

  setHostDirectory(binDir());
  EXPECT_TRUE(bibliotecaPresente());
  EXPECT_EQ(LeadsLibrary().file(), libraryFile());
  setHostDirectory({});
}

}  // namespace
}  // namespace vornleads::test
