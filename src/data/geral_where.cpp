#include <string>
#include <vector>

#include "data/geral_trim.h"
#include "vornleads/data/geral.h"

namespace vornleads {
namespace {

struct CompanyDealership {
  std::string company;
  std::string dealership;
};

// Items run up to the next ","; the last one is the rest of the text, so a trailing ","
// adds no empty item. Each splits at its first "." (an item without one is all dealership).
std::vector<CompanyDealership> splitPairs(const std::string& pairs) {
  std::vector<CompanyDealership> items;
  std::size_t start = 0;
  while (start < pairs.size()) {
    std::size_t end = pairs.find(',', start);
    if (end == std::string::npos) end = pairs.size();
    const std::string item = pairs.substr(start, end - start);
    const std::size_t dot = item.find('.');
    if (dot == std::string::npos) {
      items.push_back({"", item});
    } else {
      items.push_back({item.substr(0, dot), item.substr(dot + 1)});
    }
    start = end + 1;
  }
  return items;
}

std::string eachPair(const std::vector<CompanyDealership>& items, const std::string& companyField,
                     const std::string& dealershipField) {
  std::string text;
  for (const auto& item : items) {
    if (!text.empty()) text += " or ";
    text += "(" + companyField + " = " + item.company + " and " + dealershipField + " = " +
            item.dealership + ")";
  }
  return text;
}

std::string companiesOnly(const std::vector<CompanyDealership>& items,
                          const std::string& companyField) {
  std::string list;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) list += ",";
    list += items[i].company;
  }
  return companyField + " in (" + list + ")";
}

// Groups consecutive items of one company. The text is written as the items are walked and
// a group's dealership list is only added once the next group (or the end) is reached;
// `closeLastGroup` false leaves the last list and the closing parentheses off.
std::string groupedByCompany(const std::vector<CompanyDealership>& items,
                             const std::string& companyField, const std::string& dealershipField,
                             bool closeLastGroup) {
  std::string text = "(";
  std::string company;
  std::string dealerships;
  bool groupOpen = false;
  for (const auto& item : items) {
    if (!groupOpen || geral::trim(item.company) != geral::trim(company)) {
      if (groupOpen) text += dealerships + ")) or ";
      text += "(" + companyField + " = " + item.company + " and " + dealershipField + " in (";
      company = item.company;
      dealerships = item.dealership;
      groupOpen = true;
    } else {
      dealerships += "," + item.dealership;
    }
  }
  if (!closeLastGroup) return text;
  return groupOpen ? text + dealerships + ")))" : text + ")";
}

std::vector<std::string> splitOn(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t end = text.find(separator); end != std::string::npos;
       end = text.find(separator, start)) {
    parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

std::string without(const std::string& text, char removed) {
  std::string out;
  for (char c : text) {
    if (c != removed) out += c;
  }
  return out;
}

// Like the other literal helpers of this unit, the value goes in as it stands: callers that
// may hold a "'" in a key value use the typed form, which strips quotes.
std::string quoted(const std::string& value) { return "'" + value + "'"; }

// Takes the next value off the front of a tuple; without a further separator the value is
// all that is left.
std::string takeValue(std::string& tuple, const std::string& separator) {
  const std::size_t at = separator.empty() ? std::string::npos : tuple.find(separator);
  std::string value;
  if (at == std::string::npos) {
    value.swap(tuple);
  } else {
    value = tuple.substr(0, at);
    tuple.erase(0, at + separator.size());
  }
  return geral::trim(value);
}

std::string tupleCondition(std::string tuple, const std::vector<std::string>& columns,
                           const std::vector<std::string>& typeLetters,
                           const std::string& valueSeparator) {
  std::string condition;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const bool last = i + 1 == columns.size();
    std::string value = last ? geral::trim(tuple) : takeValue(tuple, valueSeparator);
    const std::string& column = columns[i];
    std::string literal;
    if (typeLetters.empty()) {
      // A column written between double quotes holds text.
      const bool text = column.find('"') != std::string::npos;
      literal = text ? quoted(value) : value;
    } else {
      value = without(value, '\'');
      const bool text = i < typeLetters.size() && geral::trim(typeLetters[i]) == "S";
      literal = text ? "'" + value + "'" : value;
    }
    if (!condition.empty()) condition += " and ";
    condition += without(column, '"') + " = " + literal;
  }
  return condition;
}

}  // namespace

std::string SQLEmpresaRevenda(const std::string& pairs, const std::string& companyField,
                              const std::string& dealershipField, int32_t mode) {
  // A single pair has nothing to group.
  if (mode == 2 && NumStr(pairs, '.') <= 1) mode = 0;
  const std::vector<CompanyDealership> items = splitPairs(pairs);
  switch (mode) {
    case 0:
      return eachPair(items, companyField, dealershipField);
    case 1:
      return companiesOnly(items, companyField);
    default:
      return groupedByCompany(items, companyField, dealershipField, mode == 2);
  }
}

std::string SQLChaveComposta(const std::string& records, const std::string& fields,
                             const std::string& valueSeparator, const std::string& recordSeparator,
                             const std::string& types) {
  std::vector<std::string> columns = splitOn(fields, ';');
  for (std::string& column : columns) column = geral::trim(column);
  const std::vector<std::string> typeLetters =
      types.empty() ? std::vector<std::string>{} : splitOn(types, ';');

  std::string condition;
  std::size_t start = 0;
  while (start < records.size()) {
    std::size_t end =
        recordSeparator.empty() ? std::string::npos : records.find(recordSeparator, start);
    if (end == std::string::npos) end = records.size();
    if (!condition.empty()) condition += " or ";
    condition +=
        tupleCondition(records.substr(start, end - start), columns, typeLetters, valueSeparator);
    start = end + recordSeparator.size();
  }
  return "(" + condition + ")";
}

}  // namespace vornleads
