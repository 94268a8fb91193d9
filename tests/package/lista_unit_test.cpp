// The host's registry of facades.
#include "vornleads/package/lista_unit.h"

#include <gtest/gtest.h>

#include <memory>

namespace vornleads {
namespace {

TEST(ListaUnitVornLeadsVW, StartsEmptyAndNeverOwnsItsFacades) {
  EXPECT_EQ(ListaUnitVornLeadsVW, nullptr);  // the host creates it

  auto primeira = std::make_unique<TdmVornLeadsVW>();
  auto segunda = std::make_unique<TdmVornLeadsVW>();
  {
    auto lista = std::make_unique<TListaUnitVornLeadsVW>();
    EXPECT_TRUE(lista->Lista.empty());
    lista->Lista[101] = primeira.get();
    lista->Lista[-5] = segunda.get();
    EXPECT_EQ(lista->Lista.at(101), primeira.get());
    lista->Lista.erase(-5);
    EXPECT_EQ(lista->Lista.size(), 1u);
  }
  // Removing an entry and destroying the registry left both facades to their owner.
  EXPECT_EQ(primeira->Busca_LeadsVW(), R"({"Codigo":0,"Descricao":"","Versao":""})");
  EXPECT_EQ(segunda->Busca_LeadsVW(), R"({"Codigo":0,"Descricao":"","Versao":""})");
}

}  // namespace
}  // namespace vornleads
