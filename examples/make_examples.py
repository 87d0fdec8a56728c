#!/usr/bin/env python3
"""Writes the example configurations as JSON for `corvane config build`.

Arrays keep their full index ranges: field arrays 0..40 (entry 0 unused).
"""
import json


def fields(values, default):
    out = [default] * 41
    out[0] = "" if isinstance(default, str) else 0
    for i, v in values.items():
        out[i] = v
    return out


balance = {
    # A lab balance at 9600,N,8,1 that prints one weighing per line such as
    # "   12.345 g" followed by CR LF. Each weighing is logged in milligrams
    # with a time stamp.
    "BaudRate": 6, "Parity": 0, "DataBits": 3, "StopBits": 0,
    "TransferMode": 2,
    "StartOfRecordEvent": 2,          # a record starts at a digit, sign or decimal point
    "EndOfRecordEvent": 0,            # and ends at the carriage return
    "RecordStructure": 0, "NumFields": 1,
    "RecordPreamble": "{CENTURY}{YEAR}-{MONTH}-{DAY} {HOUR}:{MINUTE}:{SECOND};",
    "FieldFilter": fields({1: "N"}, "C"),
    "FieldExpression": fields({1: "field(1)*1000"}, ""),
    "FieldFormat": fields({1: "0.0"}, ""),
    "FieldPostamble": fields({1: " mg"}, ""),
    "AckString": "",
    "LogFileName": "balance.log",
}

barcode = {
    # A bar-code reader that sends each code without a terminator; a pause of
    # two ticks (100 ms) ends the code, which is typed into the window whose
    # title contains "Inventory" followed by Enter.
    "BaudRate": 6, "Parity": 0, "DataBits": 3, "StopBits": 0,
    "TransferMode": 0,
    "StartOfRecordEvent": 1,          # printable characters only start a code
    "EndOfRecordEvent": 1, "TimeDelayTicks": 2,
    "RecordStructure": 0, "NumFields": 1,
    "FieldPostamble": fields({1: "~"}, ""),
    "TargetAppTitle": "Inventory", "ActivateTarget": -1, "InterCharDelay": 0,
}

meter = {
    # A climate meter that sends "temperature,humidity,pressure" lines. The
    # temperature is converted to Fahrenheit; the fields are logged separated
    # by tabs.
    "BaudRate": 8, "Parity": 0, "DataBits": 3, "StopBits": 0,
    "TransferMode": 2,
    "StartOfRecordEvent": 2, "EndOfRecordEvent": 0,
    "RecordStructure": 1, "NumFields": 3, "DelimiterChar": ",",
    "FieldFilter": fields({1: "N", 2: "N", 3: "N"}, "C"),
    "FieldExpression": fields({1: "field(1)*9/5+32"}, ""),
    "FieldFormat": fields({1: "0.0", 2: "0.0", 3: "0.0"}, ""),
    "FieldPostamble": fields({1: "\t", 2: "\t"}, ""),
    "LogFileName": "meter.log",
}

balance_dde = {
    # The same balance serving its weight over DDE (the session bus): the
    # runtime on COM1 publishes the weight in grams as the item "Field(1)" of
    # org.corvane.Corvane.COM1, and its output string "Tare" makes the
    # balance tare.
    "BaudRate": 6, "Parity": 0, "DataBits": 3, "StopBits": 0,
    "TransferMode": 1,
    "StartOfRecordEvent": 2, "EndOfRecordEvent": 0,
    "RecordStructure": 0, "NumFields": 1,
    "FieldFilter": fields({1: "N"}, "C"),
    "FieldFormat": fields({1: "0.000"}, ""),
    "OutputStringName": ["Tare"] + [f"String{i}" for i in range(2, 21)],
    "OutputString": ["T\r\n"] + [""] * 19,
    "DdeCmdText": "",
}

meter_sheet = {
    # The climate meter typed into a spreadsheet, one row per line: the
    # temperature converted to Fahrenheit, humidity and pressure as sent, a
    # Tab after the first two fields. The line's own carriage return stays in
    # the last field (its filter "C" keeps every character) and is typed as
    # Enter, which moves to the next row: no postamble after the last field.
    "BaudRate": 8, "Parity": 0, "DataBits": 3, "StopBits": 0,
    "TransferMode": 0,
    "StartOfRecordEvent": 2, "EndOfRecordEvent": 0,
    "RecordStructure": 1, "NumFields": 3, "DelimiterChar": ",",
    "FieldFilter": fields({1: "N"}, "C"),
    "FieldExpression": fields({1: "field(1)*9/5+32"}, ""),
    "FieldFormat": fields({1: "0.0"}, ""),
    "FieldPostamble": fields({1: "{TAB}", 2: "{TAB}"}, ""),
    "TargetAppTitle": "LibreOffice Calc", "ActivateTarget": -1, "InterCharDelay": 0,
}


def hot_keys(slots):
    """Slots 0..49 as (HotKeyCode, HotKeyAction, HotKeyData) arrays. A code is
    the virtual key plus 256 times the modifiers (1 Shift, 2 Ctrl, 4 Alt)."""
    codes, actions, data = [0] * 50, [0] * 50, [""] * 50
    for slot, (code, action, text) in slots.items():
        codes[slot], actions[slot], data[slot] = code, action, text
    return {"HotKeyCode": codes, "HotKeyAction": actions, "HotKeyData": data}


F13, F5, F6, F7 = 0x7C, 0x74, 0x75, 0x76
CTRL = 2 * 256

balance_footswitch = dict(balance, **{
    # The logging balance as a foot-switch station: a foot switch that sends
    # F13 tares the balance (T CR LF), CTRL+F5 asks it for a weighing (P CR
    # LF), CTRL+F6 and CTRL+F7 suspend and resume input. Whichever program
    # has the focus.
    "LogFileName": "balance-footswitch.log",
    **hot_keys({
        0: (F13, 1, "T\r\n"),          # Transmit String
        1: (CTRL + F5, 1, "P\r\n"),
        2: (CTRL + F6, 11, ""),         # Suspend Input
        3: (CTRL + F7, 12, ""),         # Resume Input
    }),
})

for name, cfg in (("balance", balance), ("barcode", barcode), ("meter", meter),
                  ("balance-dde", balance_dde), ("balance-footswitch", balance_footswitch),
                  ("meter-sheet", meter_sheet)):
    with open(f"{name}.json", "w") as f:
        json.dump(cfg, f, indent=1)
        f.write("\n")
