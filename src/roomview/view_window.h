// The room view's window class procedure: the child window of the editor dialog that shows the
// room. Registered with the window class by the first instance of the effect. [window thread]
#pragma once

// The procedure of the class (a WNDPROC in Windows builds); null elsewhere, where the class has
// the default procedure.
void* roomViewWindowProcedure();
