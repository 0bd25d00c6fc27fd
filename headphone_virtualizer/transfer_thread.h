// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "headphone_virtualizer/upload.h"

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/**
 * Starts the thread that carries out the upload: it keeps the TV awake, waits for the
 * upload's predecessor, gives the controller the data, waits for what becomes of it,
 * tells the callback and lets go of data and callback. The upload is Waiting from here
 * on and Idle when all that is done, 40 s later at most unless the driver or the
 * callback blocks. Nobody has to join the thread.
 *
 * @return false where there can be no thread; the upload is as before then
 */
bool startParamTransferThread(const std::shared_ptr<Upload>& upload);

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
