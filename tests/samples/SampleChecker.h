// Checks the calls of a sample against the type library: does each member exist, and can it be called so.
//
// Objects are followed from where they are made (the class's name or its programmatic identifier) through
// assignments, declarations and results; what is not ours is not looked at.
#pragma once

#include "LibraryModel.h"
#include "SampleTokens.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace orvo {

class SampleChecker {
 public:
  explicit SampleChecker(const LibraryModel& model) : model_(model) {}

  // One file of a sample.
  void Check(const std::string& file, const std::string& program, SampleLanguage language);
  // After the last file: a sample shows the whole round.
  void CheckRound();

  // "file:line: what is wrong"
  const std::vector<std::string>& Offences() const { return offences_; }
  int Calls() const { return calls_; }

 private:
  using Kind = SampleToken::Kind;

  struct Step {
    std::string type;     // interface of what the chain yields; "" when that is no object of ours
    std::size_t end = 0;  // behind its last token
  };

  void Offence(std::size_t at, const std::string& text);
  std::string TypeOf(const std::string& variable) const;
  void Remember(const std::string& variable, const std::string& type);
  bool StartsStatement(std::size_t at) const;
  void ReadDeclaration(std::size_t at);
  void ReadCreation(std::size_t at);
  Step FollowChain(std::size_t at);
  std::string CheckMember(const std::string& type, std::size_t name, std::size_t* end, bool statement);
  void CheckCall(const LibraryMember& member, const std::string& name, std::size_t at, int arguments);
  int CountArguments(std::size_t open, std::size_t* end) const;
  int CountBareArguments(std::size_t at, std::size_t* end) const;
  void CheckEvent(const std::string& type, std::size_t at, const std::string& event, int parameters);
  void CheckSubscription(const std::string& type, std::size_t name);
  void ReadHandler(std::size_t at);
  void ReadSink(const SampleToken& text);
  const SampleToken& At(std::size_t at) const;

  const LibraryModel& model_;
  std::string file_;
  SampleLanguage language_ = SampleLanguage::Basic;
  std::vector<SampleToken> tokens_;
  std::map<std::string, std::string> types_;  // of variables
  std::set<std::string> used_;                // "_KELDataGroup.SyncRead", "event DataChange"
  std::vector<std::string> offences_;
  int calls_ = 0;
};

}  // namespace orvo
