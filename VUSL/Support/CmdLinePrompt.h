#pragma once

struct CmdLineParameter;

namespace vusl {

// Asks for the value of a prompting parameter on its own streams and stores the answer, taken as
// UTF-8, in its `value`; that is empty if the platform refuses to widen it. `PromptConfirmed` hides
// the input of a console and asks until two entries in a row are equal, without a limit; at the end
// of the stream both are empty, which ends it too. The console's echo is on afterwards, whatever it
// was before, unless the platform refuses.
// For the other kinds nothing is asked, but the text is looked up all the same.
// Throws `ResourceMissingException` if the prompt's text is in no language library, before anything
// is written; and whatever the streams throw, with the console's echo on again.
void askForValue(CmdLineParameter& parameter);

}  // namespace vusl
