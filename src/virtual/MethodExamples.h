// The examples of all methods, as they stand in a definition file.
#pragma once

#include <string_view>

namespace trelis {

/// An example a method: groups with their comments, up to an empty line. What comes first is the
/// comment on the method.
inline constexpr std::string_view kMethodExamples = R"vsd(
# operators by rank: || && | < <= > >= == != | + - | * / % | ^
# functions: sin cos tan asin acos atan atan2 sqrt exp log (base 10)
#   min max abs floor ceil; constant: pi
# arguments with an operator need parentheses: max(($01 + 1), $02)
[Power.slip]
method=expression
signal_01=Can.Engine.rpm
signal_02=Can.Gearbox.shaftRpm
step=100
expr=($01 - $02) / max($01, 1) * 100
unit=%

# litres from litres an hour; needs no step
[Fuel.used]
method=integrate
signal=Can.Engine.fuelRate
onlyPos=true
fact=0.000277778
unit=l

# counts again only after the input was below 10
[Trip.starts]
method=count
signal=Can.Vehicle.speed
above=30
below=10
step=100

# time at standstill
[Trip.stopped]
method=time
signal=Can.Vehicle.speed
above=1
below=0.5
countAbove=false
step=100
unit=s

# values 1, 1, 2, 2, 5 give 8
[Trip.doses]
method=accumulate
signal=Can.Pump.dose
step=100

# each value stands at the centre of its window
[Engine.smoothRpm]
method=average
signal=Can.Engine.rpm
step=100
window=2000

# at most 5 units a second, in all directions
[Brake.calm]
method=slope
signal=Can.Brake.pressure
step=50
posSlopeIncr=5
posSlopeDecr=5
negSlopeIncr=5
negSlopeDecr=5

# one level for each time that the pump runs
[Pump.level]
method=estimate
signal=Can.Pump.current
highLimit=2
lowLimit=1
step=100

# mean of the last three cycles
[Wheel.shake]
method=frequency
signal=Can.Wheel.acceleration
step=10
samples=3
filter=15
unit=Hz

# at 10 ms a K of 20 smooths over about 200 ms
[Engine.filtered]
method=IIR
signal=Can.Engine.rpm
K=20
step=10

# 1 from above 100 until below 90
[Alarm.hot]
method=above
signal=Can.Engine.coolant
above=100
below=90
step=1000

# 0 from above 14 until below 12; starts at 1
[Alarm.lowVoltage]
method=below
signal=Can.Power.battery
above=14
below=12
step=1000

# both wheels of an axle
[Axle.load]
method=sum
signal_01=Can.Axle.left
signal_02=Can.Axle.right
step=100

# how much faster the driven wheel turns
[Wheel.slip]
method=sub
signal_01=Can.Wheel.rear
signal_02=Can.Wheel.front
step=20

# watts from volts and amperes
[Power.electric]
method=mult
signal_01=Can.Power.voltage
signal_02=Can.Power.current
step=100
unit=W

# how the gearbox is geared now
[Gearbox.ratio]
method=div
signal_01=Can.Engine.rpm
signal_02=Can.Gearbox.shaftRpm
step=100

[Wheel.mean]
method=avg
signal_01=Can.Wheel.left
signal_02=Can.Wheel.right
step=20

[Engine.hottest]
method=max
signal_01=Can.Engine.coolant
signal_02=Can.Engine.oil
step=1000

[Tyre.lowest]
method=min
signal_01=Can.Tyre.left
signal_02=Can.Tyre.right
step=1000

# seconds a turn
[Wheel.period]
method=inv
signal_01=Can.Wheel.frequency
step=100
unit=s

[Flow.rate]
method=sqrt
signal_01=Can.Flow.pressure
step=100

[Air.drag]
method=sqr
signal_01=Can.Vehicle.speed
step=100

[Vehicle.acceleration]
method=der
signal_01=Can.Vehicle.speed
step=100

# the step smooths: a longer one gives a calmer result
[Engine.spinUp]
method=derive
signal_01=Can.Engine.rpm
step=500

# height gained by length of road
[Road.grade]
method=sin
signal_01=Can.Body.pitch
step=100

[Road.level]
method=cos
signal_01=Can.Body.pitch
step=100

# per cent from an angle
[Road.slope]
method=tan
signal_01=Can.Body.pitch
step=100
fact=100
unit=%

[Body.pitch]
method=asin
signal_01=Can.Body.gForce
step=100
unit=deg

[Body.tilt]
method=acos
signal_01=Can.Body.gVertical
step=100
unit=deg

[Road.angle]
method=atan
signal_01=Virt.Road.slope
step=100
fact=0.01

# 370 degrees read 10, -370 read -10
[Steering.angle]
method=fmod
signal_01=Can.Steering.turned
denom=360
step=20

# cell voltage 3 of a message that sends one cell after the other
[Battery.cell3]
method=multiplex
signal=Can.Cells.voltage
trigSign_01=Can.Cells.index
trigVal_01=3
step=20

# has no plot; type=max starts just above 0
[Trip.topSpeed]
method=statistics
signal=Can.Vehicle.speed
type=max
step=100

# in first gear with the clutch closed
[Gearbox.firstGear]
method=equals
signal_01=Can.Gearbox.gear
value_01=1
signal_02=Can.Gearbox.clutch
value_02=0
allOf=true
step=100

# a row of map.txt: "<rpm> <load> <torque>", sorted by each column
[Engine.torque]
method=lookuptable
signal_01=Can.Engine.rpm
signal_02=Can.Engine.load
file=map.txt
step=100
unit=Nm

# within 250 m of the depot
[Place.depot]
method=geofence
step=1000
type=circle
center=57.7072;11.9668
radius=250
# a square; a negative latitude is south, a negative longitude west
[Place.harbour]
method=geofence
type=square
topleft=57.7010;11.9200
bottomright=57.6900;11.9600
)vsd";

}  // namespace trelis
