// A link whose requests must not go out on another connection than that of now.

#include "LinkFixture.h"

namespace orvo::modbus {

namespace {

class LinkStayTest : public LinkFixture {
 public:
  LinkStayTest() { link->Connect(); }
};

TEST_F(LinkStayTest, WhereNoNewConnectionIsWantedTheRequestEndsWithTheOldOne) {
  ASSERT_EQ(Read(), "done");
  line.Calls();
  link->PutReconnecting(false);
  EXPECT_EQ(Write(), "done") << "the connection stands";
  line.unquiet = true;
  EXPECT_EQ(Write(), "broken");
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "write unquiet") << "nothing went out, and nothing connected";
  EXPECT_EQ(link->Connections(), 1U);
  link->PutReconnecting(true);
  EXPECT_EQ(Write(), "done");
  EXPECT_EQ(link->Connections(), 2U);
}

TEST_F(LinkStayTest, AReadThatBreaksIsNotAskedOnceMoreThen) {
  link->PutReconnecting(false);
  line.Calls();
  line.answers["read"] = {BrokenAnswer()};
  EXPECT_EQ(Read(), "broken");
  EXPECT_EQ(line.Calls(), "read");
}

TEST_F(LinkStayTest, RequestsForOneAreWrites) {
  ASSERT_EQ(Read(), "done");
  line.Calls();
  EXPECT_EQ(Text(link->WriteCoil(1, true)), "done");
  EXPECT_EQ(Text(link->WriteRegister(1, 2)), "done");
  line.answers["coil"] = {BrokenAnswer()};
  EXPECT_EQ(Text(link->WriteCoil(1, true)), "broken");
  EXPECT_EQ(line.Calls(), "coil register coil") << "not sent once more";
}

}  // namespace

}  // namespace orvo::modbus
