// vorn_instructions CONTENDER CASE COUNT FOLDER does one thing a number of times, for
// a tool that counts instructions: the difference between two counts is what it takes.
