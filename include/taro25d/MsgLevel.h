#pragma once

namespace LUMO_TARO25D {

/// How grave a message of the library is.
enum MsgLevel {
    ML_NOTE = 0,     ///< a report that was asked for, or a note about something unusual
    ML_WARNING = 1,  ///< a call was refused, or its result is not all that was asked for
    ML_ERROR = 2     ///< wrong use that is answered with an exception, or an internal fault
};

}  // namespace LUMO_TARO25D
