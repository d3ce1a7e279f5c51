// What the precompiled headers of the tests need: a file that is compiled with them.
