// White-balance calibration: measures the three cameras' gains under D65 and under A and keeps the lines from the
// panorama camera's gains to the followers' in a file.
#include "isp_ctrl/white_balance/awb_calibration.h"

#include "isp_ctrl/core/atomic.h"
#include "isp_ctrl/core/close_on_exec.h"
#include "isp_ctrl/core/record_file.h"
#include "isp_ctrl/core/seam.h"
#include "isp_ctrl/white_balance/awb_lines.h"
#include "isp_ctrl/white_balance/wb_blocks.h"

#include <fcntl.h>

int isp::awb_pano_flag = 0;

namespace
{

constexpr int kD65 = 1; // values of Awb_Calibration
constexpr int kA = 2;

constexpr useconds_t kFollowPeriod = 34000; // microseconds: lets a running follow thread see the flag
constexpr useconds_t kSettle = 1000;
constexpr unsigned kConverge = 7; // seconds until the automatic white balance has settled
constexpr unsigned kBetweenQueries = 1;

constexpr int kRecordSize = sizeof(awb_calibration_s);

void delete_file(const isp::Place& place)
{
    if (unlink(isp::seam.wb_calibration_file) == 0) {
        ISP_TRACE_AT(place, "quenvar %s:%d value delete success\n", place.function, place.line);
    } else {
        ISP_TRACE_AT(place, "quenvar %s:%d value delete failed\n", place.function, place.line);
    }
}

/// Makes one engine call on all three cameras, in turn. If any fails, traces camera 0's code. False when one failed
/// or a camera has no engine.
template <typename Function>
bool on_all_cameras(const isp::Place& place, const char* failed, Function engine_function)
{
    constexpr int kOrder[] = {isp::kWbClose, isp::kWbThird, isp::kWbPanorama};
    XCamReturn first{};
    bool all_done = true;
    for (const int camera : kOrder) {
        const isp::Outcome outcome = isp::engine_call({place, camera}, nullptr, [&](const rk_aiq_sys_ctx_t* context) {
            const XCamReturn code = engine_function(context);
            if (camera == kOrder[0]) {
                first = code;
            }
            return code;
        });
        if (outcome == isp::Outcome::no_context) {
            return false;
        }
        all_done = all_done && outcome == isp::Outcome::done;
    }
    if (!all_done && isp::trace_on()) {
        kiv_traceout(isp::kTraceLevel, failed, place.function, place.line, first);
    }
    return all_done;
}

/// Puts the three cameras into automatic white balance without red and blue offset.
bool release_white_balance(const isp::Place& place)
{
    rk_aiq_uapiV2_wb_opMode_t op_mode{};
    if (!on_all_cameras(place, isp::kWpModeTexts.get,
                        [&](const rk_aiq_sys_ctx_t* ctx) { return isp::WpMode::get(ctx, op_mode); })) {
        return false;
    }
    isp::seam.usleep(kSettle);
    op_mode.mode = RK_AIQ_WB_MODE_AUTO;
    if (!on_all_cameras(place, isp::kWpModeTexts.set,
                        [&](const rk_aiq_sys_ctx_t* ctx) { return isp::WpMode::set(ctx, op_mode); })) {
        return false;
    }
    isp::seam.usleep(kSettle);
    rk_aiq_uapiV2_wb_awb_wbGainOffset_t offset{};
    if (!on_all_cameras(place, isp::kGainOffsetTexts.get,
                        [&](const rk_aiq_sys_ctx_t* ctx) { return isp::GainOffset::get(ctx, offset); })) {
        return false;
    }
    isp::set_offsets(offset, {.red = 0.0F, .blue = 0.0F});
    return on_all_cameras(place, isp::kGainOffsetTexts.set,
                          [&](const rk_aiq_sys_ctx_t* ctx) { return isp::GainOffset::set(ctx, offset); });
}

/// The gains of the three cameras once their white balance has settled.
struct Measurement {
    rk_aiq_wb_gain_t close;
    rk_aiq_wb_gain_t pano;
    rk_aiq_wb_gain_t third;
};

bool measure(const isp::Place& place, Measurement& measured)
{
    const auto query = [&](int camera, rk_aiq_wb_gain_t& gain) {
        rk_aiq_wb_querry_info_t info;
        if (isp::query_white_balance({place, camera}, info) != isp::Outcome::done) {
            return false;
        }
        gain = info.gain;
        return true;
    };
    isp::sleep_fully(kConverge);
    if (!query(isp::kWbClose, measured.close)) {
        return false;
    }
    isp::sleep_fully(kBetweenQueries);
    if (!query(isp::kWbPanorama, measured.pano)) {
        return false;
    }
    isp::sleep_fully(kBetweenQueries);
    return query(isp::kWbThird, measured.third);
}

void trace_measurement(const isp::Place& place, const Measurement& m)
{
    ISP_TRACE_AT(place, "quenvar %s:%d close rgain=%3f, bgain=%3f\n", place.function, place.line,
                 static_cast<double>(m.close.rgain), static_cast<double>(m.close.bgain));
    ISP_TRACE_AT(place, "quenvar %s:%d pano rgain=%3f, bgain=%3f\n", place.function, place.line,
                 static_cast<double>(m.pano.rgain), static_cast<double>(m.pano.bgain));
    ISP_TRACE_AT(place, "quenvar %s:%d 3rd rgain=%3f, bgain=%3f\n", place.function, place.line,
                 static_cast<double>(m.third.rgain), static_cast<double>(m.third.bgain));
}

int keep_first_light(const Measurement& m)
{
    awb_calibration_s record{};
    record.d65_pano_rgain = m.pano.rgain;
    record.d65_pano_bgain = m.pano.bgain;
    record.d65_close_rgain = m.close.rgain;
    record.d65_close_bgain = m.close.bgain;
    record.d65_3rd_rgain = m.third.rgain;
    record.d65_3rd_bgain = m.third.bgain;
    return user_save_wb_calibration_file(&record, kRecordSize);
}

int evaluate_second_light(const isp::Place& place, const Measurement& m)
{
    awb_calibration_s record;
    if (!isp::load_complete_calibration(record)) {
        return -1;
    }
    record.a_pano_rgain = m.pano.rgain;
    record.a_pano_bgain = m.pano.bgain;
    record.a_close_rgain = m.close.rgain;
    record.a_close_bgain = m.close.bgain;
    record.a_3rd_rgain = m.third.rgain;
    record.a_3rd_bgain = m.third.bgain;

    const isp::Calibration found = isp::evaluate_calibration(record);
    if (found == isp::Calibration::needless || found == isp::Calibration::useless) {
        delete_file(place);
        return 0;
    }
    isp::trace_lines(place, record);
    user_save_wb_calibration_file(&record, kRecordSize);
    ISP_TRACE_AT(place, "quenvar %s:%d leave\n\n", place.function, place.line);
    return 0;
}

namespace counting // as the exported function, but how many bytes there were, or -1
{

ssize_t user_load_wb_calibration_file(void* buf, int buf_size)
{
    return isp::load_record(__func__, isp::seam.wb_calibration_file, buf, buf_size);
}

} // namespace counting

} // namespace

bool isp::load_complete_calibration(awb_calibration_s& record)
{
    record = {};
    return counting::user_load_wb_calibration_file(&record, kRecordSize) == kRecordSize;
}

void isp::trace_lines(const Place& place, const awb_calibration_s& r)
{
    ISP_TRACE_AT(place, "quenvar %s:%d rgain_k=%3f, rgain_b=%3f\n", place.function, place.line,
                 static_cast<double>(r.rgain_k), static_cast<double>(r.rgain_b));
    ISP_TRACE_AT(place, "quenvar %s:%d bgain_k=%3f, bgain_b=%3f\n", place.function, place.line,
                 static_cast<double>(r.bgain_k), static_cast<double>(r.bgain_b));
    ISP_TRACE_AT(place, "quenvar %s:%d rgain_k2=%3f, rgain_b2=%3f\n", place.function, place.line,
                 static_cast<double>(r.rgain_k2), static_cast<double>(r.rgain_b2));
    ISP_TRACE_AT(place, "quenvar %s:%d bgain_k2=%3f, bgain_b2=%3f\n", place.function, place.line,
                 static_cast<double>(r.bgain_k2), static_cast<double>(r.bgain_b2));
}

int user_save_wb_calibration_file(awb_calibration_s* buf, int buf_size)
{
    if (buf == nullptr || buf_size < 0) {
        ISP_TRACE(__func__, "no %d bytes to write\n\n", buf_size);
        return -1;
    }
    const char* path = isp::seam.wb_calibration_file;
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) {
        ISP_TRACE(__func__, "open %s fail!\n\n", path);
        return -1;
    }
    isp::close_on_exec(fd);
    if (write(fd, buf, static_cast<std::size_t>(buf_size)) < 0) {
        ISP_TRACE(__func__, "write %s fail!\n\n", path);
        close(fd);
        return -1;
    }
    close(fd);
    return 0;
}

int user_load_wb_calibration_file(awb_calibration_s* buf, int buf_size)
{
    return counting::user_load_wb_calibration_file(buf, buf_size) < 0 ? -1 : 0;
}

int Awb_Calibration(int val)
{
    ISP_TRACE(__func__, "quenvar %s:%d value %d\n", __func__, __LINE__, val);
    if (val != kD65 && val != kA) {
        return -1;
    }
    isp::shared_set(isp::awb_pano_flag, 1);
    isp::seam.usleep(kFollowPeriod);
    if (val == kD65 && access(isp::seam.wb_calibration_file, F_OK) == 0) {
        delete_file(__func__);
    }
    Measurement measured;
    if (!release_white_balance(__func__) || !measure(__func__, measured)) {
        return -1;
    }
    trace_measurement(__func__, measured);
    return val == kD65 ? keep_first_light(measured) : evaluate_second_light(__func__, measured);
}
