// SPDX-License-Identifier: Apache-2.0
// A device that fails in the middle of a run, at each kind of call in turn: the frame comes from the
// processor bit for bit, the reason is told, and the device is not asked again. The calls go to the real
// device until a function in the loader's table is replaced by one that fails.
#include "host/device/device_run.h"

#include "journeys/run_grhost.h"

namespace talvisora::host {
namespace {

// Functions that answer an error whatever they are handed.
cl_int CL_API_CALL failLaunch(cl_command_queue, cl_kernel, cl_uint, const size_t*, const size_t*,
                              const size_t*, cl_uint, const cl_event*, cl_event*) {
    return CL_OUT_OF_RESOURCES;
}
cl_int CL_API_CALL failRead(cl_command_queue, cl_mem, cl_bool, size_t, size_t, void*, cl_uint,
                            const cl_event*, cl_event*) {
    return CL_OUT_OF_RESOURCES;
}
cl_int CL_API_CALL failWrite(cl_command_queue, cl_mem, cl_bool, size_t, size_t, const void*, cl_uint,
                             const cl_event*, cl_event*) {
    return CL_OUT_OF_RESOURCES;
}
cl_int CL_API_CALL failCopy(cl_command_queue, cl_mem, cl_mem, size_t, size_t, size_t, cl_uint,
                            const cl_event*, cl_event*) {
    return CL_OUT_OF_RESOURCES;
}
cl_int CL_API_CALL failWait(cl_uint, const cl_event*) {
    return CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST;
}
cl_mem CL_API_CALL failCreate(cl_context, cl_mem_flags, size_t, void*, cl_int* error) {
    if (error) *error = CL_MEM_OBJECT_ALLOCATION_FAILURE;
    return nullptr;
}

// Puts a function into the loader's table for as long as this lives.
template <class Function>
class Replaced {
public:
    Replaced(Function& slot, Function by) : slot_(slot), before_(slot) { slot = by; }
    ~Replaced() { slot_ = before_; }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

private:
    Function& slot_;
    Function before_;
};

class FailingDevice : public testing::Test {
protected:
    FailingDevice()
        : capture_(readCapture(journeys::golden("tweaks_all.capture.json"))),
          module_(std::string(TALVISORA_BIN_DIR) + "/libtalvisora.so"),
          session_(module_, "failing"),
          reference_(module_, "reference") {
        for (Session* session : {&session_, &reference_}) {
            session->attributes = capture_.attributes;
            session->sharedInputs() = capture_.sharedInputs;
            session->record = capture_.record;
        }
        reference_.deformCpu();
    }

    CallResult frame(DeviceRun& run) {
        session_.record->points = capture_.record->points;
        return run.evaluate();
    }
    bool isProcessors() const {
        const auto &a = session_.record->points, &b = reference_.record->points;
        for (std::size_t i = 0; i < b.size(); ++i)
            if (a[i].x != b[i].x || a[i].y != b[i].y || a[i].z != b[i].z) return false;
        return a.size() == b.size();
    }

    // Two frames on the device, one while `fail` lives in it, one after.
    template <class Function>
    void expectFallback(Function& slot, Function fail, const std::string& reason) {
        DeviceRun run(session_, {DeviceKind::kGpu, 0});
        for (int k = 0; k < 2; ++k) {
            ASSERT_EQ(deviceFailure(frame(run)), "");
            EXPECT_FALSE(isProcessors()) << "single precision shows";
        }
        {
            const Replaced<Function> failing(slot, fail);
            EXPECT_EQ(deviceFailure(frame(run)), "");
            EXPECT_TRUE(isProcessors());
        }
        EXPECT_EQ(deviceFailure(frame(run)), "");
        EXPECT_TRUE(isProcessors()) << "a device that failed is not asked again";
        const DeviceReport report = run.report();
        EXPECT_EQ(report.gpuFrames, 2u);
        EXPECT_EQ(report.cpuFrames, 2u);
        EXPECT_EQ(report.fallback, reason);
        EXPECT_EQ(report.line.find("CPU: " + report.device + " was given up after 2 frames: " + reason), 0u)
            << report.line;
    }

    Capture capture_;
    Module module_;
    Session session_, reference_;
};

TEST_F(FailingDevice, GivesWayWhenALaunchFails) {
    expectFallback(clEnqueueNDRangeKernel, &failLaunch,
                   "OpenCL API error at include/gpu: 78: CL_OUT_OF_RESOURCES");
}

TEST_F(FailingDevice, GivesWayWhenPointsDoNotComeBack) {
    expectFallback(clEnqueueReadBuffer, &failRead,
                   "the device did not give the points back (CL_OUT_OF_RESOURCES)");
}

TEST_F(FailingDevice, GivesWayWhenPointsCannotBeSent) {
    expectFallback(clEnqueueWriteBuffer, &failWrite,
                   "the device did not take the points (CL_OUT_OF_RESOURCES)");
    expectFallback(clEnqueueCopyBuffer, &failCopy,
                   "the device did not take the points (CL_OUT_OF_RESOURCES)");
}

TEST_F(FailingDevice, GivesWayWhenTheKernelEndsInAnError) {
    expectFallback(clWaitForEvents, &failWait,
                   "the device failed while it computed (CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST)");
}

TEST_F(FailingDevice, GivesWayWhenThereIsNoRoom) {
    DeviceRun run(session_, {DeviceKind::kGpu, 0});
    const Replaced failing(clCreateBuffer, decltype(clCreateBuffer)(&failCreate));
    EXPECT_EQ(deviceFailure(frame(run)), "");
    EXPECT_TRUE(isProcessors());
    EXPECT_EQ(run.report().fallback,
              "the device has no room for the points (CL_MEM_OBJECT_ALLOCATION_FAILURE)");
}

TEST_F(FailingDevice, TakesUpGrownAndShrunkMeshesInNewBuffers) {
    // The deformer itself refuses another number of points than it has parameters for; the buffers follow.
    session_.record->points = capture_.record->points;
    ASSERT_EQ(deviceFailure(session_.deformGpu()), "");
    const std::vector<Vec3d> first = session_.record->points;
    for (const std::size_t count : {first.size() + 7, std::size_t{1}, std::size_t{0}}) {
        session_.record->points.assign(count, Vec3d{1, 2, 3});
        const CallResult result = session_.deformGpu();
        EXPECT_FALSE(result.threw);
        for (const Vec3d& p : session_.record->points) EXPECT_EQ(p.y, 2.0);
    }
    session_.record->points = capture_.record->points;
    ASSERT_EQ(deviceFailure(session_.deformGpu()), "");
    for (std::size_t i = 0; i < first.size(); ++i) EXPECT_EQ(session_.record->points[i].x, first[i].x);
}

} // namespace
} // namespace talvisora::host
