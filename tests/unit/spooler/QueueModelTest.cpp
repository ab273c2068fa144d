// The model that the spooler is compared with, by itself: scenes as rows of facts, and what must follow.
#include "support/QueueModel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

// What follows, as "sent 1", "read 1 0 [0,0]" (id, overall error, item errors), "released 1", "dropped 1".
std::string TextOf(const QueueModel::Outcome& outcome) {
  std::string text;
  const auto say = [&text](const std::string& word) { text += (text.empty() ? "" : "; ") + word; };
  if (outcome.sent) say("sent " + std::to_string(outcome.sent->id));
  if (outcome.event != QueueModel::Event::None) {
    const char* const names[] = {"", "read", "rated", "write", "cancel"};
    std::string line = names[static_cast<int>(outcome.event)];
    line += ' ' + std::to_string(outcome.request->id) + ' ' + std::to_string(outcome.request->error) + " [";
    for (std::size_t k = 0; k < outcome.request->itemErrors.size(); ++k)
      line += (k == 0 ? "" : ",") + std::to_string(outcome.request->itemErrors[k]);
    say(line + ']');
  }
  if (outcome.releasesCaller) {
    std::string line = "released " + std::to_string(outcome.request->id);
    if (outcome.event == QueueModel::Event::None) {
      line += ' ' + std::to_string(outcome.request->error);
      for (const std::int32_t error : outcome.request->itemErrors)
        line += ' ' + std::to_string(error);
    }
    say(line);
  }
  for (const auto& request : outcome.refreshesDropped)
    say("dropped " + std::to_string(request.id));
  return text;
}

// Facts: "add KIND" (two items), "adds N KIND", "cancel ID", "tick", "begin", "end", "refuse", "clear",
// "start", "stop", "read ERROR ERROR", "write ERROR ERROR", "readgroup ERROR" (of three items), "writegroup
// ERROR". What has no consequence says nothing, "full" and "stray" tell a refusal of the model, an id is "=ID".
std::string Play(const std::string& scene) {
  QueueModel model;
  std::string said;
  const auto say = [&said](const std::string& text) {
    if (!text.empty()) said += (said.empty() ? "" : " | ") + text;
  };
  std::istringstream facts(scene);
  std::string fact;
  while (std::getline(facts, fact, ',')) {
    std::istringstream words(fact);
    std::string verb;
    std::int32_t a = 0;
    std::int32_t b = 0;
    words >> verb >> a >> b;
    if (verb == "add") {
      const auto id = model.Add(a, 2);
      say(id ? '=' + std::to_string(*id) : "full");
    } else if (verb == "adds") {
      for (int k = 0; k < a; ++k)
        if (!model.Add(b, 2)) say("full");
    } else if (verb == "cancel") {
      model.Cancel(a);
    } else if (verb == "tick") {
      say(TextOf(model.Tick()));
    } else if (verb == "begin") {
      say(TextOf(model.TickBegins()));
    } else if (verb == "end") {
      model.TickEnds();
    } else if (verb == "refuse") {
      say(TextOf(model.Refused()));
    } else if (verb == "clear") {
      say(TextOf(model.Clear()));
    } else if (verb == "start") {
      model.Start();
    } else if (verb == "stop") {
      model.Stop();
    } else if (verb == "read") {
      if (!model.ReadCompleted({a, b})) say("stray");
    } else if (verb == "write") {
      if (!model.WriteCompleted({a, b})) say("stray");
    } else if (verb == "readgroup") {
      if (!model.ReadGroupCompleted(a, 3)) say("stray");
    } else if (verb == "writegroup") {
      if (!model.WriteGroupCompleted(a)) say("stray");
    } else {
      say("what is '" + fact + "'?");
    }
  }
  return said;
}

TEST(QueueModel, TellsWhatFollows) {
  struct Row {
    const char* what;
    const char* scene;
    const char* follows;
  };
  const Row rows[] = {
      {"sent, answered, delivered", "start,add 1,tick,read 0 0,tick", "=1 | sent 1 | read 1 0 [0,0]"},
      {"a write", "start,add 2,tick,write 0 5,tick", "=1 | sent 1 | write 1 0 [0,5]"},
      {"a refresh", "start,add 3,tick,read 0 0,tick", "=1 | sent 1 | rated 1 0 [0,0]"},
      {"a group", "start,add 9,tick,readgroup 5,tick", "=1 | sent 1 | read 1 5 [5,5,5]"},
      {"a group's write", "start,add 10,tick,writegroup 4,tick", "=1 | sent 1 | write 1 4 [0,0]"},
      {"a waiting caller", "start,add 4,tick,read 0 3,tick", "=1 | sent 1 | read 1 0 [0,3]; released 1"},
      {"no timer, no work", "add 1,tick,tick,start,tick,stop,read 0 0,tick", "=1 | sent 1"},
      {"the phase outlives a stop", "start,add 1,tick,read 0 0,stop,start,tick",
       "=1 | sent 1 | read 1 0 [0,0]"},
      {"one in flight", "start,add 1,add 1,tick,tick,tick,read 0 0,tick,tick",
       "=1 | =2 | sent 1 | read 1 0 [0,0] | sent 2"},
      {"one delivery per two ticks", "start,add 1,tick,read 0 0,add 1,tick,tick,tick,read 0 0,tick,tick",
       "=1 | sent 1 | =2 | read 1 0 [0,0] | sent 2 | read 2 0 [0,0]"},
      {"refused", "start,add 1,add 2,tick,refuse,tick,tick", "=1 | =2 | sent 1 | sent 2"},
      {"a refused refresh", "start,add 3,tick,refuse", "=1 | sent 1 | dropped 1"},
      {"a refused caller", "start,add 5,tick,refuse,tick", "=1 | sent 1 | released 1 0 99 99"},
      {"a refused caller of a group", "start,add 12,tick,refuse", "=1 | sent 1 | released 1 99 0 0"},
      {"answered inside the call", "start,add 7,tick,write 0 0,tick",
       "=1 | sent 1 | write 1 0 [0,0]; released 1"},
      {"cancelled in the queue", "start,add 1,cancel 1,tick,add 2,tick,tick",
       "=1 | cancel 1 0 [0,0] | =2 | sent 2"},
      {"a cancelled refresh", "start,add 11,cancel 1,tick", "=1 | dropped 1"},
      {"a cancelled caller goes on waiting", "start,add 6,cancel 1,tick,tick", "=1"},
      {"cancelled in flight", "start,add 1,tick,cancel 1,read 0 0,tick", "=1 | sent 1 | read 1 0 [0,0]"},
      {"the mark of a late cancel waits for the id's next bearer",
       "start,add 1,tick,cancel 1,read 0 0,tick,adds 998 1,clear,tick,tick,add 1,tick",
       "=1 | sent 1 | read 1 0 [0,0] | =1 | cancel 1 0 [0,0]"},
      {"an unknown id is not marked", "start,cancel 1,add 1,tick", "=1 | sent 1"},
      {"answered twice before the next is sent", "start,add 1,tick,read 0 0,read 3 3,tick,tick,tick",
       "=1 | sent 1 | read 1 0 [3,3] | read 1 0 [3,3]"},
      {"answered once more after its delivery", "start,add 1,tick,read 0 0,tick,read 3 3,tick,tick",
       "=1 | sent 1 | read 1 0 [0,0] | read 1 0 [3,3]"},
      {"a late answer is the next request's", "start,add 1,add 1,tick,read 0 0,tick,tick,read 4 4,tick",
       "=1 | =2 | sent 1 | read 1 0 [0,0] | sent 2 | read 2 0 [4,4]"},
      {"a stray answer", "read 0 0,start,add 1,tick,read 0 0,tick,tick,readgroup 0",
       "stray | =1 | sent 1 | read 1 0 [0,0] | stray"},
      {"an answer to a cancelled request", "start,add 1,cancel 1,tick,read 0 0,tick",
       "=1 | cancel 1 0 [0,0] | read 1 0 [0,0]"},
      {"an answer to a refused request", "start,add 1,tick,refuse,write 0 0,tick",
       "=1 | sent 1 | read 1 0 [0,0]"},
      {"the answer of another kind", "start,add 1,tick,writegroup 7,tick", "=1 | sent 1 | read 1 7 [0,0]"},
      {"an unknown kind blocks until an answer comes",
       "start,add 8,add 1,tick,tick,tick,tick,read 0 0,tick,tick,tick", "=1 | =2 | sent 2"},
      {"ids wrap", "start,adds 998 1,add 1,clear,add 1", "=999 | =1"},
      {"full: the oldest that waits", "adds 999 1,add 1,add 1", "full | full"},
      {"full: the one sent last, also when it is over",
       "start,add 1,tick,read 0 0,tick,adds 998 1,add 1,tick,add 1",
       "=1 | sent 1 | read 1 0 [0,0] | full | sent 2 | =1"},
      {"full: the finished one before the one in flight", "start,add 1,tick,read 0 0,adds 998 1,begin,add 1",
       "=1 | sent 1 | read 1 0 [0,0] | full"},
      {"clear keeps what is in flight", "start,add 1,add 3,add 1,tick,clear,read 0 0,tick,tick",
       "=1 | =2 | =3 | sent 1 | dropped 2 | read 1 0 [0,0]"},
      {"clear drops what is finished", "start,add 3,tick,read 0 0,clear,tick", "=1 | sent 1 | dropped 1"},
      {"a tick inside a tick keeps the phase",
       "start,add 1,begin,begin,end,read 0 0,end,begin,begin,end,end,tick", "=1 | sent 1 | read 1 0 [0,0]"},
      {"start ends the guard", "start,add 1,add 1,begin,read 0 0,start,begin,end,end",
       "=1 | =2 | sent 1 | sent 2"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(Play(row.scene), row.follows) << row.what;
}

}  // namespace
}  // namespace orvo::testing
