#pragma once

#include <memory>
#include <stdexcept>

namespace qv {

// The exceptions that the system raises by design. Everything else that can
// fail at run time is a value: nil, Exists, or an error code.
class RuntimeException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class NilObjectException : public RuntimeException {
public:
    NilObjectException() : RuntimeException("NilObjectException") {}
};

class KeyNotFoundException : public RuntimeException {
public:
    KeyNotFoundException() : RuntimeException("KeyNotFoundException") {}
};

class OutOfBoundsException : public RuntimeException {
public:
    OutOfBoundsException() : RuntimeException("OutOfBoundsException") {}
};

// Thrown by Quit to leave every handler on the stack at once; the run loop
// catches it and stops. It is no RuntimeException, so no catch-all stops it.
struct EndException {};

// The nil test that precedes each use of an object.
template <class Pointer>
auto& Deref(const Pointer& object) {
    if (!object) throw NilObjectException();
    return *object;
}

}  // namespace qv
