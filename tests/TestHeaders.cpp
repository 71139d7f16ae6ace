// The precompiled headers of the tests are compiled as part of this file.
