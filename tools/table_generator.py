"""What every table generator shares: the command line and the writing.

A generator builds its whole output as text from files under data/, then
`run` either writes it over the committed file or, with --check, compares it
with that file and fails when they differ. Plain python3, no network.
"""
import argparse
import sys


def fail(name, msg):
    """Stops the generator with a message naming it."""
    sys.exit('%s: %s' % (name, msg))


def run(name, description, out_path, inputs, produce):
    """The generator's main.

    inputs: (option, default path, help) of each data file it reads;
    produce: called with the parsed arguments, returns the output text.
    Returns the exit status (1 when --check finds the output out of date).
    """
    ap = argparse.ArgumentParser(description=description)
    for option, default, help_text in inputs:
        ap.add_argument(option, default=default, help=help_text)
    ap.add_argument('--out', default=out_path, help='the generated file')
    ap.add_argument('--check', action='store_true', help='compare with the existing output instead of writing')
    args = ap.parse_args()
    text = produce(args)
    if not args.check:
        with open(args.out, 'w') as f:
            f.write(text)
        return 0
    try:
        with open(args.out) as f:
            current = f.read()
    except FileNotFoundError:
        current = None
    if current != text:
        print('%s: %s is out of date' % (name, args.out), file=sys.stderr)
        return 1
    return 0
