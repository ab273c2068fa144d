// Arguments of a generated call: every type, by value and by reference, arrays of every kind, right and wrong
// ones.
//
// Everything that the arguments lead to lies in storage of this object, with guards before and behind it, and
// is freed when it ends. Strings, objects and arrays that a call put in their place are freed as well.
#pragma once

#include "ClientObject.h"
#include "FuzzRandom.h"
#include "com/InterfaceInfo.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace orvo::testing {

// What arguments are made of besides numbers.
struct FuzzWorld {
  std::vector<IUnknown*> objects;  // the system's own, borrowed
  std::function<void()> called;    // runs when a client's object is called
};

class ArgumentMaker {
 public:
  ArgumentMaker(FuzzRandom& random, const FuzzWorld& world) : random_(random), world_(world) {}
  ArgumentMaker(const ArgumentMaker&) = delete;
  ArgumentMaker& operator=(const ArgumentMaker&) = delete;
  ~ArgumentMaker();

  // Room for `count` arguments, all of them empty.
  VARIANT* MakeList(std::size_t count);
  // Anything at all.
  void FillAny(VARIANT& argument);
  // What a caller who means well sends for this parameter, in one of the shapes that languages have.
  void FillFor(const com::Parameter& parameter, VARIANT& argument);
  // `argument` refers to the variable, or carries the array, of another one.
  static void Alias(const VARIANT& other, VARIANT& argument) { argument = other; }

  // Whether everything around the storage is as it was.
  bool GuardsAreWhole() const;

 private:
  enum class Content { Plain, Variant, String, Object, Array };
  struct Block {
    std::unique_ptr<std::byte[]> memory;
    std::size_t size = 0;
    Content content = Content::Plain;
    std::size_t count = 0;
  };

  void* Reserve(std::size_t size, Content content, std::size_t count = 1);
  static void* PlaceOf(const Block& block);

  VARTYPE AnyType();
  void FillScalar(VARIANT& value, VARTYPE type);
  void FillSensible(VARIANT& value, VARTYPE type);
  void FillReference(VARIANT& value, VARTYPE type, bool sensible);
  void FillArray(VARIANT& value, VARTYPE type, int depth, bool sensible);
  void FillElements(SAFEARRAY* array, VARTYPE type, int depth, bool sensible);
  void FillObject(VARIANT& value, VARTYPE type);
  void FillScriptArray(VARIANT& value, VARTYPE type);
  void FillInvalid(VARIANT& value);
  VARIANT& Variable();
  SAFEARRAY* NewArray(VARTYPE type, bool sensible);
  SAFEARRAY* NewGuardedArray(VARTYPE type, LONG lower, ULONG count);
  BSTR AnyText(bool sensible);
  LONG AnyNumber(bool sensible);

  FuzzRandom& random_;
  const FuzzWorld& world_;
  std::vector<Block> blocks_;
};

}  // namespace orvo::testing
