#include "styles/DictationStyle.h"

#include "server/Wire.h"

namespace pell {

void decode(const WireObject& object, DictationStyle& style) {
  object.required("id", style.id);
  object.required("title", style.title);
  object.required("description", style.description);
  object.optional("group", style.group);
  object.optional("supersedes", style.supersedes);
}

void decode(const WireObject& object, CleanupStyleCatalogue& catalogue) {
  object.required("styles", catalogue.styles);
  object.optional("groups", catalogue.groups);
  object.required("serverDefault", catalogue.serverDefault);
}

std::string encodeStyles(const std::vector<DictationStyle>& styles) {
  auto list = nlohmann::json::array();
  for (const DictationStyle& style : styles) {
    nlohmann::json object{{"id", style.id}, {"title", style.title}, {"description", style.description}};
    if (style.group) object["group"] = *style.group;
    if (style.supersedes) object["supersedes"] = *style.supersedes;
    list.push_back(std::move(object));
  }
  return list.dump();
}

}  // namespace pell
