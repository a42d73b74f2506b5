// SPDX-License-Identifier: Apache-2.0
#include "host/picture/moving_picture.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <cmath>

namespace talvisora::host {

namespace {

// Kept without loss: in shaded pictures with labels that is also smaller than it sounds, as only the
// rectangle that changes is stored. Effort 0 to 9; beyond 3 the files hardly shrink.
constexpr float kEffort = 70.0f;
constexpr int kMethod = 2;

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw HostError(ExitCode::kOutput, "cannot write '" + path + "': " + why);
}

struct PictureHolder {
    WebPPicture picture;
    PictureHolder() { WebPPictureInit(&picture); }
    ~PictureHolder() { WebPPictureFree(&picture); }
    PictureHolder(const PictureHolder&) = delete;
    PictureHolder& operator=(const PictureHolder&) = delete;
};

struct DataHolder {
    WebPData data;
    DataHolder() { WebPDataInit(&data); }
    ~DataHolder() { WebPDataClear(&data); }
    DataHolder(const DataHolder&) = delete;
    DataHolder& operator=(const DataHolder&) = delete;
};

} // namespace

struct MovingPicture::Encoder {
    WebPAnimEncoder* handle = nullptr;
    WebPConfig config{};
    int width = 0, height = 0;

    Encoder(int w, int h) : width(w), height(h) {
        WebPAnimEncoderOptions options;
        if (!WebPAnimEncoderOptionsInit(&options) || !WebPConfigInit(&config)) return;
        options.anim_params.loop_count = 0; // for ever
        config.lossless = 1;
        config.quality = kEffort;
        config.method = kMethod;
        handle = WebPAnimEncoderNew(w, h, &options);
    }
    ~Encoder() { WebPAnimEncoderDelete(handle); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    int milliseconds(std::size_t frame, double rate) const {
        return static_cast<int>(std::lround(static_cast<double>(frame) * 1000.0 / rate));
    }
};

MovingPicture::MovingPicture(const std::string& path, double rate) : file_(path), rate_(rate) {
    if (!(rate > 0.0) || rate > kMaxMovingRate) fail(path, "no such rate of frames");
}

MovingPicture::~MovingPicture() = default;

void MovingPicture::add(const Image& image) {
    const std::string& path = file_.path();
    if (image.width < 1 || image.height < 1) fail(path, "the picture is empty");
    if (image.width > WEBP_MAX_DIMENSION || image.height > WEBP_MAX_DIMENSION)
        fail(path, "a moving picture has at most 16383 pixels either way; give a smaller --size");
    if (frames_ == kMaxMovingFrames)
        fail(path, "a moving picture has at most " + std::to_string(kMaxMovingFrames) +
                       " frames; choose some with --picture-frames");
    if (!encoder_) encoder_ = std::make_unique<Encoder>(image.width, image.height);
    if (!encoder_->handle) fail(path, "no memory for the picture; make it smaller");
    if (image.width != encoder_->width || image.height != encoder_->height)
        fail(path, "its frames differ in size");

    PictureHolder holder;
    holder.picture.use_argb = 1;
    holder.picture.width = image.width;
    holder.picture.height = image.height;
    if (!WebPPictureImportRGB(&holder.picture, image.bytes.data(), image.width * 3) ||
        !WebPAnimEncoderAdd(encoder_->handle, &holder.picture, encoder_->milliseconds(frames_, rate_),
                            &encoder_->config))
        fail(path, "no memory for the picture; make it smaller");
    ++frames_;
}

void MovingPicture::close() {
    const std::string& path = file_.path();
    if (!encoder_) fail(path, "the picture has no frames");
    DataHolder holder;
    if (!WebPAnimEncoderAdd(encoder_->handle, nullptr, encoder_->milliseconds(frames_, rate_), nullptr) ||
        !WebPAnimEncoderAssemble(encoder_->handle, &holder.data))
        fail(path, "no memory for the picture; show fewer frames or make them smaller");
    file_.write(holder.data.bytes, holder.data.size);
    file_.commit();
}

} // namespace talvisora::host
