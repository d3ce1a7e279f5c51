#include "session/undo.h"

#include "host/store.h"
#include "isp_ctrl.h"
#include "session/cameras.h"

#include <cstring>
#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

namespace session
{

namespace
{

std::vector<std::pair<int, kiv_isp_param_s>> stack; // in turns, so one thread at a time

} // namespace

Undoable::Undoable(int camera) : camera_(camera), before_(sim::host::stored_record(camera)) {}

Undoable::~Undoable()
{
    const kiv_isp_param_s after = sim::host::stored_record(camera_);
    if (std::memcmp(&before_, &after, sizeof after) != 0) {
        stack.emplace_back(camera_, before_);
    }
}

void put_settings(int camera, const kiv_isp_param_s& record)
{
    sim::host::store_record(camera, record);
    if (has_engine(camera)) {
        KIV_load_isp_para(camera);
    }
}

int undo_change()
{
    if (stack.empty()) {
        return -1;
    }
    const auto [camera, record] = stack.back();
    stack.pop_back();
    put_settings(camera, record);
    return camera;
}

std::string differences(const kiv_isp_param_s& record, const kiv_isp_param_s& other, const std::string& title)
{
    std::ostringstream text;
    for (const sim::host::Setting& setting : sim::host::kSettings) {
        if (record.*setting.member != other.*setting.member) {
            text << std::left << std::setw(24) << setting.name << std::setw(20)
                 << sim::host::name_of(setting, record.*setting.member) << "(" << title << " "
                 << sim::host::name_of(setting, other.*setting.member) << ")\n";
        }
    }
    return text.str();
}

} // namespace session
