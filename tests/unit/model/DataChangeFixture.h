// A group that is refreshed every second: queued at each full second after opening, delivered 100 ms later.
#pragma once

#include "unit/model/DataFixture.h"

#include <utility>

namespace orvo::testing {

class ChangeFixture : public DataFixture {
 protected:
  // Opens with the group active and stands half a second later.
  void StartActive(std::initializer_list<const char*> itemIds = {"WO1", "WO2", "WO3"}) {
    AddGroup(itemIds);
    group->PutUpdateRate(1000);
    group->PutActive(true);
    Open();
    plant->Advance(500ms);
  }
  // One refresh further; the events that it raised.
  Log Round() {
    plant->Advance(1s);
    return TakeEvents();
  }
};

}  // namespace orvo::testing
