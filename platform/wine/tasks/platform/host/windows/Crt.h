#pragma once

// Takes the place of the model's header of that name: here the C runtime is the platform's own.
