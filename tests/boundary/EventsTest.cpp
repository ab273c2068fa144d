// Events: how their arguments reach each kind of sink, and what sinks may do inside them.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"

namespace orvo::testing {
namespace {

enum GroupEvent : DISPID {
  DataChange = 1,
  ReadComplete,
  ReadAllComplete,
  WriteAllComplete,
  WriteComplete,
  Cancelled
};

class Events : public Boundary {
 protected:
  // A running, subscribed group of two words, and its connection point.
  Events() {
    scene.Configure();
    group = scene.AddGroup({"WO100", "WO102"});
    group->put_Subscribed(VARIANT_TRUE);
    point = PointOf(group.Get(), DIID___KELDataGroup);
    scene.server->OpenCommunication();
  }
  ~Events() override {
    point = nullptr;
    group = nullptr;
    scene.server = nullptr;
    EXPECT_EQ(typed.References(), 0U) << "sinks are let go";
    EXPECT_EQ(loose.References(), 0U);
  }

  DWORD Advise(TestSink& sink) {
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(sink.Face(), &cookie), S_OK);
    EXPECT_NE(cookie, 0U);
    return cookie;
  }
  // An asynchronous read of all items and the time until it is delivered.
  void Read() {
    EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text, "Empty");
    scene.Advance(300ms);
  }

  ComPtr<_KELDataGroup> group;
  ComPtr<IConnectionPoint> point;
  TestSink typed{DIID___KELDataGroup};
  TestSink loose{IID_NULL};
};

using Lines = std::vector<std::string>;

TEST_F(Events, ReachTypedSinksAsDeclared) {
  Advise(typed);
  Read();
  EXPECT_EQ(typed.log, Lines{"2(I4:1, I4[0: 1, 2], Variant[0: I2:0, I2:0], I4[0: 0, 0])"});
  EXPECT_EQ(typed.types, (std::vector<VARTYPE>{VT_I4, VT_BYREF | VT_ARRAY | VT_I4,
                                               VT_BYREF | VT_ARRAY | VT_VARIANT, VT_BYREF | VT_ARRAY | VT_I4}));
}

TEST_F(Events, ReachDispatchSinksAsWhatScriptsCanIndex) {
  Advise(loose);
  Read();
  EXPECT_EQ(loose.log,
            Lines{"2(I4:1, Variant[0: I4:1, I4:2], Variant[0: I2:0, I2:0], Variant[0: I4:0, I4:0])"});
  EXPECT_EQ(loose.types,
            (std::vector<VARTYPE>{VT_I4, VT_ARRAY | VT_VARIANT, VT_ARRAY | VT_VARIANT, VT_ARRAY | VT_VARIANT}));
}

TEST_F(Events, OfEachKind) {
  Advise(typed);
  const Value handles = Array(VT_I4, 0, {I4(2)});
  EXPECT_EQ(Invoke(group.Get(), L"AsyncWrite", Method, {handles, Array(VT_VARIANT, 0, {I2(7)}), I4(0)}).text,
            "Empty");
  scene.Advance(300ms);
  EXPECT_EQ(typed.log.back(), "5(I4:1, I4[0: 2], I4[0: 0])");
  EXPECT_EQ(Invoke(group.Get(), L"AsyncRead", Method, {handles, I4(0)}).text, "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"AsyncRead", Method, {handles, I4(0)}).text, "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"AsyncCancel", Method, {I4(3)}).text, "Empty");
  scene.Advance(500ms);
  EXPECT_EQ(typed.log[1], "2(I4:2, I4[0: 2], Variant[0: I2:7], I4[0: 0])");
  EXPECT_EQ(typed.log[2], "6(I4:3, Bool:True)");
  EXPECT_EQ(typed.types, (std::vector<VARTYPE>{VT_I4, VT_BOOL}));
  group->put_UpdateRate(200);
  group->put_Active(VARIANT_TRUE);
  scene.Advance(600ms);
  EXPECT_EQ(typed.log[3], "1(I4[0: 1, 2], Variant[0: I2:0, I2:7])");
  EXPECT_EQ(typed.log.size(), 4U) << "nothing changed since";
  group->put_Active(VARIANT_FALSE);
}

TEST_F(Events, AreRaisedOnlyWhileSubscribed) {
  Advise(typed);
  group->put_Subscribed(VARIANT_FALSE);
  Read();
  EXPECT_TRUE(typed.log.empty());
  group->put_Subscribed(VARIANT_TRUE);
  Read();
  EXPECT_EQ(typed.log.size(), 1U);
}

TEST_F(Events, ReachEverySinkThoughOneFails) {
  TestSink failing{DIID___KELDataGroup};
  for (const HRESULT failure :
       {E_FAIL, static_cast<HRESULT>(DISP_E_EXCEPTION), static_cast<HRESULT>(RPC_E_DISCONNECTED)}) {
    failing.answer = failure;
    const DWORD first = Advise(failing);
    const DWORD second = Advise(typed);
    Read();
    EXPECT_EQ(point->Unadvise(first), S_OK);
    EXPECT_EQ(point->Unadvise(second), S_OK);
  }
  EXPECT_EQ(failing.log.size(), 3U);
  EXPECT_EQ(typed.log, failing.log);
  EXPECT_EQ(failing.References(), 0U);
}

TEST_F(Events, ASinkMayWithdrawItself) {
  const DWORD cookie = Advise(typed);
  Advise(loose);
  typed.during[ReadComplete] = [&] { EXPECT_EQ(point->Unadvise(cookie), S_OK); };
  Read();
  Read();
  EXPECT_EQ(typed.log.size(), 1U);
  EXPECT_EQ(loose.log.size(), 2U);
  EXPECT_EQ(typed.References(), 0U);
}

TEST_F(Events, ASinkThatWasWithdrawnMeanwhileIsPassedOver) {
  Advise(typed);
  const DWORD second = Advise(loose);
  typed.during[ReadComplete] = [&] {
    typed.during.clear();
    EXPECT_EQ(point->Unadvise(second), S_OK);
  };
  Read();
  EXPECT_EQ(typed.log.size(), 1U);
  EXPECT_TRUE(loose.log.empty());
  EXPECT_EQ(loose.References(), 0U);
}

TEST_F(Events, ASinkThatJoinsInsideAnEventGetsTheNext) {
  Advise(typed);
  typed.during[ReadComplete] = [&] {
    typed.during.clear();
    Advise(loose);
  };
  Read();
  EXPECT_TRUE(loose.log.empty());
  Read();
  EXPECT_EQ(typed.log.size(), 2U);
  EXPECT_EQ(loose.log.size(), 1U);
}

TEST_F(Events, TheSourceMayBeReleasedInsideItsEvent) {
  Advise(typed);
  Advise(loose);
  typed.during[ReadComplete] = [&] {
    point = nullptr;
    group = nullptr;
    scene.server = nullptr;
  };
  Read();
  EXPECT_EQ(typed.log.size(), 1U);
  EXPECT_EQ(loose.log.size(), 1U) << "the event is raised to its end";
  EXPECT_EQ(scene.ObjectsAlive(), 0);
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

TEST_F(Events, GoOnAfterTheClientLetTheGroupGo) {
  const DWORD cookie = Advise(typed);
  Value id;
  const Reply groups = Invoke(scene.server.Get(), L"KELDataGroups", Get);
  point = nullptr;
  EXPECT_EQ(Invoke(group.Get(), L"AsyncReadAll", Method, {Ref(id)}).text, "Empty");
  group = nullptr;
  scene.Advance(300ms);
  EXPECT_EQ(typed.log.size(), 1U);
  EXPECT_NE(typed.References(), 0U);
  // The cookie is good at the group's next facade.
  Reply again = Invoke((*groups.value).pdispVal, DefaultMember, Method, {I4(1)});
  const ComPtr<IConnectionPoint> other = PointOf(again.value->pdispVal, DIID___KELDataGroup);
  EXPECT_EQ(other->Unadvise(cookie), S_OK);
  EXPECT_EQ(typed.References(), 0U);
}

TEST_F(Events, AHandlerMayCallTheGroup) {
  Advise(typed);
  std::string inside;
  typed.during[ReadComplete] = [&] {
    typed.during.clear();
    inside = Invoke(group.Get(), L"AsyncReadAll", Method, {I4(0)}).text;
  };
  Read();
  scene.Advance(300ms);
  EXPECT_EQ(inside, "Empty");
  EXPECT_EQ(typed.log.size(), 2U);
}

TEST_F(Events, OfDownloads) {
  TestSink sink{DIID___KELDataServer};
  scene.server->CloseCommunication();
  scene.Files().PutFile("panel.fw", std::string(2000, 'x'));
  const ComPtr<IConnectionPoint> server = PointOf(scene.server.Get(), DIID___KELDataServer);
  DWORD cookie = 0;
  EXPECT_EQ(server->Advise(sink.Face(), &cookie), S_OK);
  EXPECT_EQ(scene.server->DownloadFirmware(Text16("panel.fw")), S_OK);
  EXPECT_EQ(sink.log, (Lines{"1(I2:50)", "1(I2:100)", "3()"}));
  sink.log.clear();
  EXPECT_EQ(Invoke(scene.server.Get(), L"DownloadProject", Method, {Str("panel.fw")}).text, "Empty");
  EXPECT_EQ(sink.log, (Lines{"2(I2:50)", "2(I2:100)", "4()"}));
  EXPECT_EQ(server->Unadvise(cookie), S_OK);
}

TEST_F(Events, OfTheSpoolerCarryTheRequest) {
  TestSink sink{DIID___DataRequests};
  TestSink script{IID_NULL};
  const ComPtr<_DataRequests> spooler = scene.Spooler();
  const ComPtr<IConnectionPoint> requests = PointOf(spooler.Get(), DIID___DataRequests);
  DWORD cookie = 0;
  DWORD other = 0;
  EXPECT_EQ(requests->Advise(sink.Face(), &cookie), S_OK);
  EXPECT_EQ(requests->Advise(script.Face(), &other), S_OK);
  Read();
  EXPECT_EQ(sink.log, Lines{"1(Object)"});
  EXPECT_EQ(sink.types, std::vector<VARTYPE>{VT_BYREF | VT_DISPATCH});
  EXPECT_EQ(script.log, Lines{"1(Object)"});
  scene.server->CloseCommunication();
  scene.Files().PutFile("panel.fw", "x");
  EXPECT_EQ(scene.server->DownloadFirmware(Text16("panel.fw")), S_OK);
  EXPECT_EQ(sink.log, (Lines{"1(Object)", "6(I2:100)", "5()"}));
  EXPECT_EQ(requests->Unadvise(cookie), S_OK);
  EXPECT_EQ(requests->Unadvise(other), S_OK);
  EXPECT_EQ(sink.References() + script.References(), 0U);
}

}  // namespace
}  // namespace orvo::testing
