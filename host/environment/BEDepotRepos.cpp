#include "host/environment/BEDepotRepos.h"

void BEDepotRepos::BEDepotGetInputPath(const std::string&, std::string& local) {
  local.clear();
}

void BEDepotRepos::BEDepotRemoveInputEntry(const std::string&) {}
