#!/usr/bin/python3
"""Writes MIDI files with mido, and beside each the listing mido itself reads from it: every
channel message in mido's merged order with its absolute tick and time in microseconds, one a
line ("tick microseconds status data1 data2"). Usage: write_tool_songs.py OUTPUT_DIR"""
import os
import sys

import mido


def notes(track, channel, pitches, step, start=0, velocity=90):
    """A run of notes, each `step` ticks long, the first starting `start` ticks after the last
    message of the track."""
    wait = start
    for pitch in pitches:
        track.append(mido.Message('note_on', channel=channel, note=pitch, velocity=velocity, time=wait))
        track.append(mido.Message('note_off', channel=channel, note=pitch, velocity=0, time=step))
        wait = 0


def format0():
    song = mido.MidiFile(type=0, ticks_per_beat=96)
    track = mido.MidiTrack()
    song.tracks.append(track)
    track.append(mido.MetaMessage('track_name', name='runa1 format 0', time=0))
    track.append(mido.MetaMessage('set_tempo', tempo=400000, time=0))
    track.append(mido.Message('program_change', channel=0, program=5, time=0))
    track.append(mido.Message('program_change', channel=9, program=0, time=0))
    for bar in range(8):
        track.append(mido.Message('note_on', channel=0, note=60 + bar, velocity=100, time=0))
        track.append(mido.Message('note_on', channel=9, note=36, velocity=110, time=0))
        track.append(mido.Message('pitchwheel', channel=0, pitch=bar * 512, time=24))
        track.append(mido.Message('note_off', channel=9, note=36, velocity=0, time=24))
        track.append(mido.Message('aftertouch', channel=0, value=bar * 8, time=0))
        track.append(mido.Message('note_off', channel=0, note=60 + bar, velocity=0, time=48))
    return song


def format1():
    """Three tracks; the meta events and the volume controllers follow a note of their moment,
    where they take no time from the stream."""
    song = mido.MidiFile(type=1, ticks_per_beat=480)
    melody = mido.MidiTrack()
    song.tracks.append(melody)
    pitches = [64, 66, 68, 69, 71, 73, 75, 76] * 2
    tempos = {4: 300000, 8: 750000}
    for index, pitch in enumerate(pitches):
        melody.append(mido.Message('note_on', channel=1, note=pitch, velocity=90, time=0))
        if index == 0:
            melody.append(mido.MetaMessage('time_signature', numerator=3, denominator=4, time=0))
            melody.append(mido.MetaMessage('set_tempo', tempo=500000, time=0))
            melody.append(mido.Message('control_change', channel=1, control=7, value=110, time=0))
        if index in tempos:
            melody.append(mido.MetaMessage('set_tempo', tempo=tempos[index], time=0))
        melody.append(mido.Message('note_off', channel=1, note=pitch, velocity=0, time=480))
    bass = mido.MidiTrack()
    song.tracks.append(bass)
    bass.append(mido.Message('program_change', channel=2, program=33, time=0))
    for bar in range(8):
        bass.append(mido.Message('control_change', channel=2, control=7, value=60 + bar * 8, time=0))
        bass.append(mido.Message('control_change', channel=2, control=10, value=bar * 16, time=0))
        notes(bass, 2, [40 + bar % 3, 47], 480)
        bass.append(mido.Message('note_on', channel=2, note=52, velocity=70, time=0))
        bass.append(mido.Message('note_off', channel=2, note=52, velocity=0, time=0))
    chords = mido.MidiTrack()
    song.tracks.append(chords)
    for bar in range(4):
        for pitch in (60, 64, 67):
            chords.append(mido.Message('note_on', channel=3, note=pitch, velocity=60, time=1920 if pitch == 60 and bar else 0))
        chords.append(mido.Message('control_change', channel=3, control=7, value=90 - bar * 20, time=0))
        for pitch in (60, 64, 67):
            chords.append(mido.Message('note_off', channel=3, note=pitch, velocity=0, time=0))
    return song


def listing(song):
    lines = []
    seconds = 0.0
    tick = 0
    tempo = 500000
    for message in mido.merge_tracks(song.tracks):
        tick += message.time
        seconds += mido.tick2second(message.time, song.ticks_per_beat, tempo)
        if message.type == 'set_tempo':
            tempo = message.tempo
        if message.is_meta:
            continue
        data = message.bytes() + [0, 0]
        lines.append('%d %d %d %d %d\n' % (tick, round(seconds * 1e6), data[0], data[1], data[2]))
    return ''.join(lines)


def main():
    output = sys.argv[1]
    os.makedirs(output, exist_ok=True)
    for name, song in (('tool_format0', format0()), ('tool_format1', format1())):
        song.save(os.path.join(output, name + '.mid'))
        with open(os.path.join(output, name + '.txt'), 'w') as out:
            out.write(listing(mido.MidiFile(os.path.join(output, name + '.mid'))))


main()
