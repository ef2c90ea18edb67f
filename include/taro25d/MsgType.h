#pragma once

namespace LUMO_TARO25D {

/// The kinds of messages a listener (`MsgBase`) can subscribe to.
enum MsgType {
    MT_PROGRESS = 0,  ///< how far a long operation has come; the value is the fraction done, 0 to 1
    MT_WARNING = 1    ///< a text of the warning or error channel of the triangulation; the value is 0
};

}  // namespace LUMO_TARO25D
