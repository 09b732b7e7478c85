#include "styles/StyleCatalogue.h"

#include <algorithm>
#include <map>

namespace pell {

std::vector<StyleCatalogue::Group> StyleCatalogue::grouped(const std::vector<DictationStyle>& styles,
                                                           const std::vector<std::string>& order) {
  std::map<std::string, std::vector<DictationStyle>> buckets;
  std::vector<std::string> encountered;
  for (const DictationStyle& style : styles) {
    const std::string name = style.group.value_or(std::string(ungroupedSectionName));
    auto& bucket = buckets[name];
    if (bucket.empty()) encountered.push_back(name);
    bucket.push_back(style);
  }

  std::vector<Group> groups;
  for (const std::string& name : order) {
    if (auto bucket = buckets.find(name); bucket != buckets.end()) groups.push_back({name, bucket->second});
  }
  for (const std::string& name : encountered) {
    if (std::ranges::find(order, name) == order.end()) groups.push_back({name, buckets[name]});
  }
  return groups;
}

}  // namespace pell
