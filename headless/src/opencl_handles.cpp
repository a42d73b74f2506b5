// SPDX-License-Identifier: Apache-2.0
// The owning OpenCL handles. All counting goes through the loader's variables; while those are null (no
// OpenCL on this machine) there can be no live object, and counting is left out.
#include <maya/MOpenCLAutoPtr.h>

#include <functional>
#include <utility>

namespace {

void retain(cl_kernel object) {
    if (object && clRetainKernel) clRetainKernel(object);
}

void retain(cl_mem object) {
    if (object && clRetainMemObject) clRetainMemObject(object);
}

void retain(cl_event object) {
    if (object && clRetainEvent) clRetainEvent(object);
}

void release(cl_kernel object) {
    if (object && clReleaseKernel) clReleaseKernel(object);
}

void release(cl_mem object) {
    if (object && clReleaseMemObject) clReleaseMemObject(object);
}

void release(cl_event object) {
    if (object && clReleaseEvent) clReleaseEvent(object);
}

} // namespace

namespace Autodesk::Maya::OpenMaya20240000 {

MAutoCLKernel::MAutoCLKernel() : held(nullptr) {}

MAutoCLKernel::MAutoCLKernel(const MAutoCLKernel& other) : held(other.held) {
    retain(held);
}

MAutoCLKernel::MAutoCLKernel(MAutoCLKernel&& other) : held(std::exchange(other.held, nullptr)) {}

MAutoCLKernel::MAutoCLKernel(cl_kernel value, NoRef) : held(value) {}

MAutoCLKernel::~MAutoCLKernel() {
    release(held);
}

MAutoCLKernel& MAutoCLKernel::operator=(const MAutoCLKernel& other) {
    // Retain first: both may hold the same object, with the last reference.
    retain(other.held);
    release(std::exchange(held, other.held));
    return *this;
}

MAutoCLKernel& MAutoCLKernel::operator=(MAutoCLKernel&& other) {
    swap(other);
    return *this;
}

void MAutoCLKernel::attach(cl_kernel value) {
    release(std::exchange(held, value));
}

cl_kernel MAutoCLKernel::detach() {
    return std::exchange(held, nullptr);
}

void MAutoCLKernel::reset() {
    release(detach());
}

cl_kernel MAutoCLKernel::get() const {
    return held;
}

bool MAutoCLKernel::isNull() const {
    return held == nullptr;
}

const cl_kernel* MAutoCLKernel::getReadOnlyRef() const {
    return &held;
}

cl_kernel* MAutoCLKernel::getReferenceForAssignment() {
    reset();
    return &held;
}

void MAutoCLKernel::swap(MAutoCLKernel& other) {
    std::swap(held, other.held);
}

bool MAutoCLKernel::operator!() const {
    return isNull();
}

bool MAutoCLKernel::operator<(const MAutoCLKernel& other) const {
    return std::less<cl_kernel>()(held, other.held);
}

bool MAutoCLKernel::operator==(const MAutoCLKernel& other) const {
    return held == other.held;
}

bool MAutoCLKernel::operator==(cl_kernel value) const {
    return held == value;
}

MAutoCLMem::MAutoCLMem() : held(nullptr) {}

MAutoCLMem::MAutoCLMem(const MAutoCLMem& other) : held(other.held) {
    retain(held);
}

MAutoCLMem::MAutoCLMem(MAutoCLMem&& other) : held(std::exchange(other.held, nullptr)) {}

MAutoCLMem::MAutoCLMem(cl_mem value, NoRef) : held(value) {}

MAutoCLMem::~MAutoCLMem() {
    release(held);
}

MAutoCLMem& MAutoCLMem::operator=(const MAutoCLMem& other) {
    // Retain first: both may hold the same object, with the last reference.
    retain(other.held);
    release(std::exchange(held, other.held));
    return *this;
}

MAutoCLMem& MAutoCLMem::operator=(MAutoCLMem&& other) {
    swap(other);
    return *this;
}

void MAutoCLMem::attach(cl_mem value) {
    release(std::exchange(held, value));
}

cl_mem MAutoCLMem::detach() {
    return std::exchange(held, nullptr);
}

void MAutoCLMem::reset() {
    release(detach());
}

cl_mem MAutoCLMem::get() const {
    return held;
}

bool MAutoCLMem::isNull() const {
    return held == nullptr;
}

const cl_mem* MAutoCLMem::getReadOnlyRef() const {
    return &held;
}

cl_mem* MAutoCLMem::getReferenceForAssignment() {
    reset();
    return &held;
}

void MAutoCLMem::swap(MAutoCLMem& other) {
    std::swap(held, other.held);
}

bool MAutoCLMem::operator!() const {
    return isNull();
}

bool MAutoCLMem::operator<(const MAutoCLMem& other) const {
    return std::less<cl_mem>()(held, other.held);
}

bool MAutoCLMem::operator==(const MAutoCLMem& other) const {
    return held == other.held;
}

bool MAutoCLMem::operator==(cl_mem value) const {
    return held == value;
}

MAutoCLEvent::MAutoCLEvent() : held(nullptr) {}

MAutoCLEvent::MAutoCLEvent(const MAutoCLEvent& other) : held(other.held) {
    retain(held);
}

MAutoCLEvent::MAutoCLEvent(MAutoCLEvent&& other) : held(std::exchange(other.held, nullptr)) {}

MAutoCLEvent::MAutoCLEvent(cl_event value, NoRef) : held(value) {}

MAutoCLEvent::~MAutoCLEvent() {
    release(held);
}

MAutoCLEvent& MAutoCLEvent::operator=(const MAutoCLEvent& other) {
    // Retain first: both may hold the same object, with the last reference.
    retain(other.held);
    release(std::exchange(held, other.held));
    return *this;
}

MAutoCLEvent& MAutoCLEvent::operator=(MAutoCLEvent&& other) {
    swap(other);
    return *this;
}

void MAutoCLEvent::attach(cl_event value) {
    release(std::exchange(held, value));
}

cl_event MAutoCLEvent::detach() {
    return std::exchange(held, nullptr);
}

void MAutoCLEvent::reset() {
    release(detach());
}

cl_event MAutoCLEvent::get() const {
    return held;
}

bool MAutoCLEvent::isNull() const {
    return held == nullptr;
}

const cl_event* MAutoCLEvent::getReadOnlyRef() const {
    return &held;
}

cl_event* MAutoCLEvent::getReferenceForAssignment() {
    reset();
    return &held;
}

void MAutoCLEvent::swap(MAutoCLEvent& other) {
    std::swap(held, other.held);
}

bool MAutoCLEvent::operator!() const {
    return isNull();
}

bool MAutoCLEvent::operator<(const MAutoCLEvent& other) const {
    return std::less<cl_event>()(held, other.held);
}

bool MAutoCLEvent::operator==(const MAutoCLEvent& other) const {
    return held == other.held;
}

bool MAutoCLEvent::operator==(cl_event value) const {
    return held == value;
}

} // namespace Autodesk::Maya::OpenMaya20240000
