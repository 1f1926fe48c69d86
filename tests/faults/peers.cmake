# SPDX-License-Identifier: Apache-2.0
add_library(fault_traffic STATIC Traffic.cpp PeersFault.cpp Churn.cpp Trend.cpp)
target_link_libraries(fault_traffic PUBLIC fault_case)

lumenar_fault_test(peers_faults_test
  SOURCES engine_limits_faults.cpp hanging_peers_faults.cpp dead_peers_faults.cpp killed_services_faults.cpp
    silent_subscribers_faults.cpp
  LINK fault_traffic)
