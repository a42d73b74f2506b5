// SPDX-License-Identifier: Apache-2.0
// Data handles, array handles and builders: counted pointers to working copies.
#include "array_storage.h"
#include "data_block.h"

#include <maya/MArrayDataBuilder.h>
#include <maya/MArrayDataHandle.h>
#include <maya/MDataHandle.h>
#include <maya/MStatus.h>

#include <utility>

namespace headless {
namespace {

struct OpenHandles {
    std::mutex mutex;
    unsigned long long count = 0;
    unsigned long long epoch = 0;
};

OpenHandles& openHandles() {
    static OpenHandles& instance = *new OpenHandles;
    return instance;
}

// Lets a handle point to another block; the new one is kept first, as both may be the same.
void point(DataBlock*& held, DataBlock* other) {
    DataBlock::keep(other);
    DataBlock::drop(std::exchange(held, other));
}

// Whether the block can be used; if not, that counts as misuse.
bool usable(const DataBlock* block, const char* call) {
    if (block && !block->hasEnded()) return true;
    noteMisuse(call);
    return false;
}

void setStatus(MStatus* status, MStatus::MStatusCode code) {
    if (status) *status = code;
}

} // namespace

DataBlock* DataBlock::make(bool fromPlug) {
    DataBlock* block = new DataBlock;
    if (!fromPlug) return block;
    OpenHandles& open = openHandles();
    std::lock_guard<std::mutex> lock(open.mutex);
    ++open.count;
    block->epoch = open.epoch;
    return block;
}

DataBlock* DataBlock::keep(DataBlock* block) {
    if (block) block->users.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void DataBlock::drop(DataBlock* block) {
    if (!block || block->users.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    drop(block->origin);
    delete block;
}

bool DataBlock::end() {
    if (ended.exchange(true)) return false;
    OpenHandles& open = openHandles();
    std::lock_guard<std::mutex> lock(open.mutex);
    if (epoch == open.epoch) --open.count;
    return true;
}

unsigned long long DataBlock::openCount() {
    OpenHandles& open = openHandles();
    std::lock_guard<std::mutex> lock(open.mutex);
    return open.count;
}

void DataBlock::forgetOpen() {
    OpenHandles& open = openHandles();
    std::lock_guard<std::mutex> lock(open.mutex);
    open.count = 0;
    ++open.epoch;
}

} // namespace headless

using namespace headless;

namespace Autodesk::Maya::OpenMaya20240000 {

MDataHandle::MDataHandle() : block(nullptr), element(0), isElement(false) {}
MDataHandle::MDataHandle(const MDataHandle& other)
    : block(DataBlock::keep(other.block)), element(other.element), isElement(other.isElement) {}
MDataHandle::~MDataHandle() {
    DataBlock::drop(block);
}
MDataHandle& MDataHandle::operator=(const MDataHandle& other) {
    point(block, other.block);
    element = other.element;
    isElement = other.isElement;
    return *this;
}

void MDataHandle::setFloat(float val) {
    noteApiCall("MDataHandle::setFloat");
    if (!usable(block, "MDataHandle::setFloat without a value or after its end")) return;
    if (!isElement && block->shape == DataBlock::Shape::array) {
        noteMisuse("MDataHandle::setFloat on a whole array");
        return;
    }
    const unsigned int index = isElement ? element : 0;
    block->values.get(index) = val;
    block->written.get(index);
}

MArrayDataHandle::MArrayDataHandle(const MDataHandle& in, MStatus* ReturnStatus) : block(nullptr) {
    noteApiCall("MArrayDataHandle::MArrayDataHandle");
    setStatus(ReturnStatus, MStatus::kFailure);
    DataBlock* source = DataAccess::block(in);
    if (!usable(source, "MArrayDataHandle of a handle without a value or after its end")) return;
    if (DataAccess::isElement(in) || source->shape != DataBlock::Shape::array) return;
    block = DataBlock::keep(source);
    setStatus(ReturnStatus, MStatus::kSuccess);
}
MArrayDataHandle::MArrayDataHandle(const MArrayDataHandle& other) : block(DataBlock::keep(other.block)) {}
MArrayDataHandle::~MArrayDataHandle() {
    DataBlock::drop(block);
}
MArrayDataHandle& MArrayDataHandle::operator=(const MArrayDataHandle& other) {
    point(block, other.block);
    return *this;
}

unsigned int MArrayDataHandle::elementCount(MStatus* ReturnStatus) {
    noteApiCall("MArrayDataHandle::elementCount");
    const bool good = usable(block, "MArrayDataHandle::elementCount without an array or after its end");
    setStatus(ReturnStatus, good ? MStatus::kSuccess : MStatus::kFailure);
    return good ? static_cast<unsigned int>(block->values.size()) : 0;
}

MArrayDataBuilder MArrayDataHandle::builder(MStatus* ReturnStatus) {
    noteApiCall("MArrayDataHandle::builder");
    if (!usable(block, "MArrayDataHandle::builder without an array or after its end")) {
        setStatus(ReturnStatus, MStatus::kFailure);
        return DataAccess::make<MArrayDataBuilder>(nullptr);
    }
    DataBlock* made = DataBlock::make(false);
    made->shape = DataBlock::Shape::array;
    made->place = block->place;
    made->values = block->values;
    made->origin = DataBlock::keep(block);
    setStatus(ReturnStatus, MStatus::kSuccess);
    return DataAccess::make<MArrayDataBuilder>(made);
}

MStatus MArrayDataHandle::set(MArrayDataBuilder& builder) {
    noteApiCall("MArrayDataHandle::set");
    const DataBlock* source = DataAccess::block(builder);
    if (!usable(block, "MArrayDataHandle::set without an array or after its end") ||
        !usable(source, "MArrayDataHandle::set with a builder after its end")) {
        return MStatus::kFailure;
    }
    block->values = source->values;
    source->written.forEach([&](unsigned int index, float) { block->written.get(index); });
    return MStatus::kSuccess;
}

MArrayDataBuilder::MArrayDataBuilder() : block(nullptr) {}
MArrayDataBuilder::MArrayDataBuilder(const MArrayDataBuilder& other) : block(DataBlock::keep(other.block)) {}
MArrayDataBuilder::~MArrayDataBuilder() {
    DataBlock::drop(block);
}
MArrayDataBuilder& MArrayDataBuilder::operator=(const MArrayDataBuilder& other) {
    point(block, other.block);
    return *this;
}

MDataHandle MArrayDataBuilder::addElement(unsigned int index, MStatus* ReturnStatus) {
    noteApiCall("MArrayDataBuilder::addElement");
    if (!usable(block, "MArrayDataBuilder::addElement without an array or after its end")) {
        setStatus(ReturnStatus, MStatus::kFailure);
        return MDataHandle();
    }
    const std::size_t before = block->values.size();
    block->values.get(index);
    if (block->values.size() != before) block->written.get(index);
    setStatus(ReturnStatus, MStatus::kSuccess);
    return DataAccess::makeElement<MDataHandle>(DataBlock::keep(block), index);
}

unsigned int MArrayDataBuilder::elementCount(MStatus* ReturnStatus) const {
    noteApiCall("MArrayDataBuilder::elementCount");
    const bool good = usable(block, "MArrayDataBuilder::elementCount without an array or after its end");
    setStatus(ReturnStatus, good ? MStatus::kSuccess : MStatus::kFailure);
    return good ? static_cast<unsigned int>(block->values.size()) : 0;
}

} // namespace Autodesk::Maya::OpenMaya20240000
