// The method masks of the estate's objects: which operations an object
// supports at all ("MasterMethodMask") and which it can carry out in its
// present state ("CurrentMethodMask"), each bit derived by one rule from
// the object's state. The requests that carry an operation out ask the same
// rule before they change anything, so the masks never offer what the
// request then refuses, nor refuse what it would carry out.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace kvda {

// Appends the mask tags an object of obj's kind carries, derived from its
// effective state.
void appendMethodMasks(const Estate& estate, const Object& obj, Props& out);

// True when obj supports the operation and can carry it out now: both its
// bits are set in the masks its answers show (an override of a mask tag
// counts as the mask).
bool canNow(const Estate& estate, const Object& obj, const vk::MethodBit& operation);

// The operation bits the rules derive, once each.
std::vector<vk::MethodBit> ruledMethodBits();

// A disk that may join a new virtual disk or become a spare: empty, or why
// not.
std::string whyNotFree(const Object& d);

// A virtual disk that keeps copies or parity of its data.
bool redundant(const Object& vd);

// An operation runs on the object (a rebuild, a check, a learn cycle, ...).
bool busy(const Object& o);

}  // namespace kvda
