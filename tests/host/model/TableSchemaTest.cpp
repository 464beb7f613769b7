#include <gtest/gtest.h>

#include "host/environment/HostErrors.h"
#include "host/model/TableSchema.h"

TEST(TableSchema, SaysWhatIsWrongAndWhere) {
  const std::pair<const char*, std::string> kCases[] = {
      {"", ", line 1: no valid JSON"},
      {"{\"fields\": [\n{\"name\": \"a\"\n", ", line 3: no valid JSON"},
      {"{\"fields\": [{\"name\": \"\xff\"}]}", ", line 1: no valid JSON"},
      {R"({"x": 1e999})", ": a number is beyond 1.8e308"},
      {"[]", ": no Table Schema: it must be an object with the member \"fields\""},
      {"{}", ": no Table Schema: \"fields\" must be a list"},
      {R"({"fields": [], "documents": ["x"]})", ": \"documents\" must be a list of lists of lines"},
      {R"({"fields": [{"name": "a"}, {"type": "number"}]})", ": field 2 has no name"},
      {R"({"fields": [{"name": "Ä"}, {"name": "ä"}]})", ": field ä is named twice"},
      {R"({"fields": [{"name": "a", "type": "float"}]})", ": field a has the unknown type \"float\""},
      {R"({"fields": [{"name": "a", "level": 4}]})", ": field a \"level\" must be nominal, ordinal or scale"},
      {R"({"fields": [{"name": "a", "width": 1e3}]})",
       ": field a \"width\" must be a whole number from 1 to 16777216"},
      {R"({"fields": [{"name": "a", "printFormat": "F8.x"}]})",
       ": field a \"printFormat\" is no format such as F8.2 or A12"},
      {R"({"fields": [{"name": "a", "categories": [{"label": "x"}]}]})",
       ": field a has a category or missing value without \"value\""},
      {R"({"fields": [{"name": "a", "missingValues": [[1]]}]})",
       ": field a has a value that is neither a text nor a number"},
  };
  for (const auto& [json, fault] : kCases) {
    try {
      ParseTableSchema(json, "s.json");
      ADD_FAILURE() << json;
    } catch (const DataError& error) {
      EXPECT_EQ(error.what(), "s.json" + fault);
    }
  }
}
